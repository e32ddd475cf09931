#include "analysis/clusterOnsets.h"

#include <gtest/gtest.h>

namespace {

// At 1000 Hz a sample is a millisecond and the window is 55 samples.
constexpr float kRate = 1000.0f;

TransientMap onsets(std::initializer_list<std::pair<std::uint64_t, std::uint32_t>> positionsAndBands)
{
    TransientMap map;
    for (const auto& [position, band] : positionsAndBands)
        map.insert(position, {band, 1.5f, 120.0f, 500});
    return map;
}

TEST(ClusterOnsets, TheLastClusterIsLeftOut)
{
    EXPECT_TRUE(clusterOnsets(onsets({{0, 0}, {10, 0}, {55, 0}}), kRate).empty());
    const ClusterSet all = clusterOnsets(onsets({{0, 0}, {500, 0}, {1000, 0}}), kRate);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all.clusters[0].key, 0U);
    EXPECT_EQ(all.clusters[1].key, 500U);
    EXPECT_EQ(all.rate, kRate);
}

TEST(ClusterOnsets, TheWindowIncludesItsEnd)
{
    EXPECT_EQ(clusterOnsets(onsets({{0, 0}, {55, 0}, {900, 0}}), kRate).size(), 1U);
    EXPECT_EQ(clusterOnsets(onsets({{0, 0}, {56, 0}, {900, 0}}), kRate).size(), 2U);
}

TEST(ClusterOnsets, MembersAddUp)
{
    const ClusterSet all = clusterOnsets(onsets({{100, 4}, {110, 2}, {120, 2}, {900, 0}}), kRate);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all.clusters[0].position, 100U);
    EXPECT_EQ(all.clusters[0].bandMask, 0b10100U);
    EXPECT_EQ(all.clusters[0].count, 3U);
    EXPECT_EQ(all.clusters[0].strength, 4.5f);
}

TEST(ClusterOnsets, AHigherBandTakesOverTheTimeAndTheWindow)
{
    const ClusterSet all = clusterOnsets(onsets({{100, 1}, {150, 3}, {200, 0}, {900, 0}}), kRate);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all.clusters[0].position, 150U);
    EXPECT_EQ(all.clusters[0].key, 150U);
    EXPECT_EQ(all.clusters[0].count, 3U) << "200 is within 55 of 150, not of 100";
}

TEST(ClusterOnsets, OnlyABandAboveAllBeforeItTakesOver)
{
    const ClusterSet all = clusterOnsets(onsets({{100, 5}, {120, 1}, {140, 3}, {900, 0}}), kRate);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all.clusters[0].key, 100U);
}

}  // namespace
