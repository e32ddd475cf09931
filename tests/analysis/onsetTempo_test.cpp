#include "analysis/onsetTempo.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr double kBinWidth = 60 / 4000.0;  // of a range from 60 to 120 BPM

/// An onset list in which only tempo and strength matter.
TransientMap withTempi(std::initializer_list<std::pair<float, float>> tempiAndStrengths)
{
    TransientMap map;
    std::uint64_t position = 0;
    for (const auto& [bpm, strength] : tempiAndStrengths)
        map.insert(position += 1000, {0, strength, bpm, 0});
    return map;
}

TEST(TempoRange, FoldsByOctavesIntoTheRange)
{
    const TempoRange range(70);
    EXPECT_EQ(range.fold(70.0f), 70.0f);
    EXPECT_EQ(range.fold(69.0f), 138.0f);
    EXPECT_EQ(range.fold(140.0f), 70.0f) << "the upper end is excluded";
    EXPECT_EQ(range.fold(600.0f), 75.0f);
    EXPECT_EQ(range.fold(10.0f), 80.0f);
    EXPECT_EQ(TempoRange(130).fold(120.0f), 240.0f);
}

TEST(TempoRange, WhatIsNoTempoBecomesTheLowerEnd)
{
    using Limits = std::numeric_limits<float>;
    const TempoRange range(58);
    for (const float bad : {0.0f, -120.0f, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_EQ(range.fold(bad), 58.0f) << bad;
    EXPECT_EQ(range.fold(Limits::denorm_min()) >= 58.0f, true);
    EXPECT_LT(range.fold(Limits::max()), 116.0f);
}

TEST(TempoRange, AnEmptyRangeDoesNotHang)
{
    EXPECT_EQ(TempoRange(0).fold(120.0f), 0.0f);
    EXPECT_EQ(TempoRange(-5).fold(120.0f), -5.0f);
}

TEST(CoarseTempo, IsTheMeanAroundTheMostFrequentTempo)
{
    const TempoRange range(60);
    // The bins are 0.015 BPM wide and begin at multiples of that.
    const float tempo = coarseTempo(withTempi({{90.0f, 1}, {90.0f, 1}, {91.5f, 1}, {100.0f, 1}}), range);
    EXPECT_NEAR(tempo, (90.0 + 90.0 + 91.5) / 3, kBinWidth);
}

TEST(CoarseTempo, OctavesCountTogetherButNotBeyondThreeTimesTheTop)
{
    const TempoRange range(60);
    EXPECT_NEAR(coarseTempo(withTempi({{45.0f, 1}, {180.0f, 1}, {80.0f, 1}}), range), 90.0, kBinWidth);
    const auto twiceEightyAndThrice = [&range](float bpm) {
        return coarseTempo(withTempi({{bpm, 1}, {bpm, 1}, {bpm, 1}, {80.0f, 1}, {80.0f, 1}}), range);
    };
    EXPECT_NEAR(twiceEightyAndThrice(360.0f), 90.0, kBinWidth);
    EXPECT_NEAR(twiceEightyAndThrice(720.0f), 80.0, kBinWidth) << "too fast to count";
}

TEST(CoarseTempo, OfTwoEqualPeaksTheLowerCounts)
{
    EXPECT_NEAR(coarseTempo(withTempi({{100.0f, 1}, {80.0f, 1}}), TempoRange(60)), 80.0, kBinWidth);
}

TEST(CoarseTempo, TheWindowWrapsRoundTheOctaveButTheTempoGoesOn)
{
    // 119.7 and 60.3 are close to each other round the octave of 60 to 120. Around the peak at 60.3 the bin
    // of 119.7 counts as 59.7.
    const float tempo = coarseTempo(withTempi({{60.3f, 1}, {60.3f, 1}, {119.7f, 1}}), TempoRange(60));
    EXPECT_NEAR(tempo, (60.3 * 2 + 59.7) / 3, 0.02);
}

TEST(CoarseTempo, RangesOfAnyWidthGiveAnAnswer)
{
    const auto onsets = withTempi({{90.0f, 1}, {95.0f, 1}});
    EXPECT_EQ(coarseTempo(onsets, TempoRange(0)), 0.0f);
    EXPECT_EQ(coarseTempo(onsets, TempoRange(-1)), 0.0f);
    EXPECT_EQ(coarseTempo(onsets, TempoRange(20000)), 0.0f) << "2 BPM are less than half a bin";
    for (const int minimum : {1, 2, 3, 4, 1000, 2147483647})
        EXPECT_TRUE(coarseTempo(onsets, TempoRange(minimum)) >= 0.0f) << minimum;
}

TEST(MeanTempoNear, WeighsByStrengthWithinOneBpm)
{
    const auto onsets = withTempi({{90.0f, 3}, {90.8f, 1}, {91.0f, 100}, {45.1f, 4}});
    EXPECT_NEAR(meanTempoNear(90.0f, onsets, TempoRange(60)), (90.0 * 3 + 90.8 + 90.2 * 4) / 8, 1e-4);
}

TEST(MeanTempoNear, WithoutAnyIsTheMiddle)
{
    EXPECT_EQ(meanTempoNear(80.0f, withTempi({{100.0f, 3}}), TempoRange(60)), 90.0f);
    EXPECT_EQ(meanTempoNear(80.0f, withTempi({{80.0f, 0}}), TempoRange(60)), 90.0f);
}

}  // namespace
