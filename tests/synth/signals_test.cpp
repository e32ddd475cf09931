#include "synth/signals.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(Signals, SineStartsAtZeroAndPeaksAfterAQuarterOfItsPeriod)
{
    const std::vector<float> signal = synth::sine({.frequency = 1000, .seconds = 1, .sampleRate = 8000});
    ASSERT_EQ(signal.size(), 8000U);
    EXPECT_FLOAT_EQ(signal[0], 0.0f);
    EXPECT_FLOAT_EQ(signal[2], 1.0f);
    EXPECT_FLOAT_EQ(signal[6], -1.0f);
}

TEST(Signals, SilenceHasTheAskedLength) { EXPECT_EQ(synth::silence(0.5, 44100).size(), 22050U); }

TEST(Signals, NoLengthGivesNoFrames)
{
    EXPECT_TRUE(synth::silence(0).empty());
    EXPECT_TRUE(synth::silence(-1).empty());
}

TEST(Signals, NoiseDependsOnItsSeedAloneAndStaysInRange)
{
    const std::vector<float> first = synth::noise({.seconds = 1, .seed = 5});
    EXPECT_EQ(first, synth::noise({.seconds = 1, .seed = 5}));
    EXPECT_NE(first, synth::noise({.seconds = 1, .seed = 6}));

    const auto [lowest, highest] = std::minmax_element(first.begin(), first.end());
    EXPECT_GE(*lowest, -1.0f);
    EXPECT_LT(*lowest, -0.99f);
    EXPECT_LT(*highest, 1.0f);
    EXPECT_GT(*highest, 0.99f);
    double sum = 0;
    for (const float sample : first)
        sum += sample;
    EXPECT_NEAR(sum / 44100, 0.0, 0.02);
}

TEST(Signals, StereoRepeatsEachSample)
{
    EXPECT_EQ(synth::stereoFromMono({1.0f, 2.0f}), (std::vector<float>{1.0f, 1.0f, 2.0f, 2.0f}));
}

}  // namespace
