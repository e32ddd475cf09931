#include "key/LogSpectrum.h"

#include "key/keyMusic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using eboKey::LogSpectrum;

constexpr int kLength = 8192;

LogSpectrum make()
{
    std::unique_ptr<CRealFFT_If> fft;
    EXPECT_EQ(CRealFFT_If::create(fft, kLength, 1, CRealFFT_If::kHann), eboKey::kOk);
    return LogSpectrum(std::move(fft));
}

std::vector<float> computed(const std::vector<float>& block, int first = 0, int end = kLength / 2)
{
    LogSpectrum spectrum = make();
    EXPECT_EQ(spectrum.bins(), kLength / 2);
    const float* const values = spectrum.compute(block.data(), {first, end});
    return {values + first, values + end};
}

TEST(LogSpectrum, TheStrongestBinHasTheLogarithmOfFifteenAtAnyLoudness)
{
    for (const double amplitude : {1e-3, 0.5, 1e15}) {
        const auto values = computed(testsupport::keyTone(500, 1, amplitude));
        EXPECT_NEAR(double{values[500]}, std::log(15), 1e-5) << "amplitude " << amplitude;
        // The window spreads a tone: half of it is in each neighbour.
        EXPECT_NEAR(double{values[499]}, std::log(7.5), 1e-3);
        EXPECT_NEAR(double{values[501]}, std::log(7.5), 1e-3);
        EXPECT_EQ(values[497], 0.0f);
        EXPECT_EQ(values[503], 0.0f);
    }
}

TEST(LogSpectrum, WhatIsWeakerThanAFifteenthOfTheStrongestIsAtZero)
{
    auto sound = testsupport::keyTone(500, 1, 0.5);
    testsupport::add(sound, testsupport::keyTone(700, 1, 0.5 / 14));
    testsupport::add(sound, testsupport::keyTone(900, 1, 0.5 / 16));
    const auto values = computed(sound);
    EXPECT_NEAR(double{values[700]}, std::log(15.0 / 14), 1e-4);
    EXPECT_EQ(values[900], 0.0f);
}

TEST(LogSpectrum, TheStrongestIsSoughtOutsideOfTheRangeToo)
{
    auto sound = testsupport::keyTone(500, 1, 0.1);
    testsupport::add(sound, testsupport::keyTone(3000, 1, 0.5));
    EXPECT_NEAR(double{computed(sound, 490, 510)[10]}, std::log(3), 1e-4);
    for (float& sample : sound)
        sample += 0.5f;
    EXPECT_NEAR(double{computed(sound, 490, 510)[10]}, std::log(15 * 0.1 / 1.0), 1e-3) << "at 0 Hz";
}

TEST(LogSpectrum, NothingIsAtZeroEverywhere)
{
    EXPECT_EQ(computed(std::vector<float>(kLength)), std::vector<float>(kLength / 2));
}

}  // namespace
