#include "analysis/BarFold.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

// At 1000 Hz and 60 BPM a beat is 1000 samples and a bar 4000; with a shift of 4 a step is 62 samples.
ClusterSet track(std::initializer_list<std::uint64_t> keys)
{
    ClusterSet all;
    all.rate = 1000.0f;
    for (const std::uint64_t key : keys)
        all.append({key, key, 1, 1, 1.0f});
    return all;
}

std::vector<std::uint64_t> foldedPositions(const ClusterSet& all)
{
    BarFold barFold(all);
    std::vector<std::uint64_t> result;
    for (const OnsetCluster& entry : barFold.fold(4, 60.0f).clusters)
        result.push_back(entry.position);
    return result;
}

using Positions = std::vector<std::uint64_t>;

TEST(BarFold, ClustersABarApartFallTogether)
{
    const ClusterSet all = track({100, 4100, 8100, 8500});
    BarFold barFold(all);
    const ClusterSet& fold = barFold.fold(4, 60.0f);
    EXPECT_EQ(fold.beatPeriod, 1000U);
    EXPECT_EQ(fold.rate, 60.0f);
    ASSERT_EQ(fold.size(), 1U);
    EXPECT_EQ(fold.clusters[0].key, 62U) << "100 lies in the second step of 62";
    EXPECT_EQ(fold.clusters[0].count, 3U);
    EXPECT_EQ(fold.clusters[0].strength, 3.0f);
    EXPECT_EQ(fold.clusters[0].position, 8100U) << "the last that came, since strengths only grow";
}

TEST(BarFold, AClusterWithoutACompanionTakesNoPart)
{
    EXPECT_EQ(foldedPositions(track({100, 4100, 5555, 9000})), (Positions{4100}));
    EXPECT_EQ(foldedPositions(track({100, 1100, 2100})), (Positions{}));
}

TEST(BarFold, ACompanionMayBeOneStepOff)
{
    EXPECT_EQ(foldedPositions(track({1100, 5100 + 62, 9900})).size(), 2U);
    EXPECT_EQ(foldedPositions(track({1100, 5100 - 62, 9900})).size(), 2U);
    EXPECT_EQ(foldedPositions(track({1100, 5100 + 63, 9900})).size(), 0U);
    EXPECT_EQ(foldedPositions(track({1100, 5100 - 63, 9900})).size(), 0U);
}

TEST(BarFold, ACompanionAtTheVeryEndOfTheTrackIsNotFoundFromBefore)
{
    // The window in which 100 looks for a companion reaches to 4162. 4100 finds 100 in any case.
    const auto countAtFirstPlace = [](std::uint64_t end) {
        const ClusterSet all = track({100, 4100, end});
        BarFold barFold(all);
        return barFold.fold(4, 60.0f).clusters.at(0).count;
    };
    EXPECT_EQ(countAtFirstPlace(4161), 1U);
    EXPECT_EQ(countAtFirstPlace(4162), 2U);
}

TEST(BarFold, TwoClustersFoldIntoOneAtMost)
{
    for (std::uint64_t distance = 3900; distance < 4100; ++distance) {
        if (distance != 4062) {  // exactly a bar and a step, they find each other
            EXPECT_LE(foldedPositions(track({1100, 1100 + distance})).size(), 1U) << distance;
        }
    }
}

TEST(BarFold, PlacesInTheBarAreInOrderAcrossManyBars)
{
    const ClusterSet all =
        track({100, 1100, 2600, 4100, 5100, 6600, 40100, 41100, 42600, 44100, 45100, 46600, 49000});
    BarFold barFold(all);
    const ClusterSet& fold = barFold.fold(4, 60.0f);
    ASSERT_EQ(fold.size(), 3U);
    EXPECT_EQ(fold.clusters[0].key, 62U);
    EXPECT_EQ(fold.clusters[1].key, 1054U);  // 17 x 62
    EXPECT_EQ(fold.clusters[2].key, 2542U);  // 41 x 62
    for (const OnsetCluster& entry : fold.clusters)
        EXPECT_EQ(entry.count, 4U);
}

TEST(BarFold, TheNextFoldForgetsTheLast)
{
    const ClusterSet all = track({100, 4100, 8100, 8500});
    BarFold barFold(all);
    EXPECT_EQ(barFold.fold(4, 60.0f).size(), 1U);
    EXPECT_EQ(barFold.fold(4, 97.0f).size(), 0U);
    EXPECT_EQ(barFold.fold(4, 60.0f).clusters[0].count, 3U);
}

TEST(BarFold, TempiWithoutAUsableBeatGiveAnEmptyFold)
{
    using Limits = std::numeric_limits<float>;
    const ClusterSet all = track({100, 4100, 8100, 8500});
    BarFold barFold(all);
    for (const float bpm : {0.0f, -60.0f, 1e-30f, 4000.0f, 1e30f, Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_EQ(barFold.fold(4, bpm).size(), 0U) << bpm;
}

TEST(BarFold, NoClustersGiveAnEmptyFold)
{
    const ClusterSet none = track({});
    BarFold barFold(none);
    EXPECT_TRUE(barFold.fold(6, 60.0f).empty());
    EXPECT_EQ(barFold.fold(6, 60.0f).beatPeriod, 1000U);
}

}  // namespace
