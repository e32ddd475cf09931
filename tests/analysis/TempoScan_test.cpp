#include "analysis/TempoScan.h"

#include "analysis/BarFold.h"
#include "analysis/ClusterSet.h"

#include <gtest/gtest.h>

namespace {

/// A fold with beats of 1024 samples, so that with a shift of 4 steps are 64 and windows 17 to either side.
ClusterSet foldWith(std::initializer_list<OnsetCluster> entries)
{
    ClusterSet fold;
    fold.rate = 60.0f;
    fold.beatPeriod = 1024;
    for (const OnsetCluster& entry : entries)
        fold.append(entry);
    return fold;
}

constexpr OnsetCluster entry(std::uint64_t key, std::uint32_t count, float strength)
{
    return {key, key, 1, count, strength};
}

TEST(BestBeatTrain, AddsCountTimesStrengthOnTheBeatsOfTheBestPhase)
{
    const auto fold =
        foldWith({entry(64, 2, 3.0f), entry(128, 1, 5.0f), entry(64 + 1024, 3, 1.0f), entry(3000, 9, 0.0f)});
    EXPECT_EQ(bestBeatTrain(fold, 100000, 4), 2 * 3.0f + 3 * 1.0f);
}

TEST(BestBeatTrain, AWindowThatReachesPastTheHighestKeyAddsNothing)
{
    // The window around 64 is 47 to 81; only a key above 81 makes it count.
    EXPECT_EQ(bestBeatTrain(foldWith({entry(64, 1, 1.0f)}), 100000, 4), 0.0f);
    EXPECT_EQ(bestBeatTrain(foldWith({entry(64, 1, 1.0f), entry(81, 0, 0.0f)}), 100000, 4), 0.0f);
    EXPECT_EQ(bestBeatTrain(foldWith({entry(64, 1, 1.0f), entry(82, 0, 0.0f)}), 100000, 4), 1.0f);
}

TEST(BestBeatTrain, NoBeatAfterTheLastOnsetCounts)
{
    const auto fold =
        foldWith({entry(0, 1, 1.0f), entry(1024, 1, 1.0f), entry(2048, 1, 1.0f), entry(4000, 1, 0.0f)});
    EXPECT_EQ(bestBeatTrain(fold, 2048, 4), 3.0f);
    EXPECT_EQ(bestBeatTrain(fold, 2047, 4), 2.0f);
    EXPECT_EQ(bestBeatTrain(fold, 0, 4), 1.0f);
}

TEST(BestBeatTrain, AnEmptyFoldScoresNothing) { EXPECT_EQ(bestBeatTrain(foldWith({}), 100000, 4), 0.0f); }

TEST(TempoScan, FindsTheTempoAtWhichTheTrackLinesUp)
{
    // At 44100 Hz, 120.5 BPM is a beat of 21958.5 samples.
    ClusterSet all;
    all.rate = 44100.0f;
    for (int beat = 0; beat < 400; ++beat) {
        const auto key = static_cast<std::uint64_t>(beat * 60.0 / 120.5 * 44100.0);
        all.append({key, key, 1, 1, 1.0f});
    }
    BarFold barFold(all);
    TempoScan coarse(119.0f, 123.0f);
    coarse.run(barFold, all.clusters.back().key, 4);
    EXPECT_GT(coarse.total(), 0.1f);
    EXPECT_NEAR(coarse.centroid(20.0f), 120.5, 0.5);

    TempoScan fine(120.3f, 120.7f);
    fine.run(barFold, all.clusters.back().key, 6);
    EXPECT_NEAR(fine.centroid(2.0f), 120.5, 0.05);
}

TEST(TempoScan, WithNothingToLineUpTheTotalIsZero)
{
    ClusterSet none;
    none.rate = 44100.0f;
    BarFold barFold(none);
    TempoScan scan(118.0f, 122.0f);
    scan.run(barFold, 1000000, 4);
    EXPECT_EQ(scan.total(), 0.0f);
}

TEST(TempoScan, AWindowWithoutWidthHasAnAnswer)
{
    const TempoScan scan(1e9f, 1e9f);
    EXPECT_GE(scan.centroid(2.0f), 0.0f);
}

}  // namespace
