#include "formats/mixToMono.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kSmallest = std::numeric_limits<float>::denorm_min();

std::vector<float> mix(const std::vector<float>& interleaved, std::size_t channels)
{
    std::vector<float> mono(interleaved.size() / channels, -1.0f);
    mixToMono(interleaved.data(), mono.data(), mono.size(), channels);
    return mono;
}

TEST(MixToMono, IsTheMeanOfTheChannels)
{
    EXPECT_EQ(mix({0.5f, -0.25f}, 1), (std::vector<float>{0.5f, -0.25f}));
    EXPECT_EQ(mix({0.5f, 0.0f, -1.0f, 0.5f}, 2), (std::vector<float>{0.25f, -0.25f}));
    EXPECT_EQ(mix({0.5f, 0.25f, 0.0f, 0.25f}, 4), (std::vector<float>{0.25f}));
    EXPECT_EQ(mix({}, 2), std::vector<float>());
}

TEST(MixToMono, AddsFromTheFirstChannelToTheLastInSinglePrecision)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
    for (std::size_t channels = 1; channels <= 8; ++channels) {
        std::vector<float> interleaved(channels * 1003);
        for (float& value : interleaved)
            value = sample(random);
        const std::vector<float> mono = mix(interleaved, channels);
        for (std::size_t frame = 0; frame < mono.size(); ++frame) {
            volatile float sum = 0.0f;  // every step rounded to single precision, in this order
            for (std::size_t channel = 0; channel < channels; ++channel)
                sum = sum + interleaved[frame * channels + channel];
            const volatile float scale = 1.0f / static_cast<float>(channels);
            const volatile float expected = sum * scale;
            ASSERT_EQ(mono[frame], expected) << "frame " << frame << " of " << channels << " channels";
        }
    }
}

TEST(MixToMono, WhatIsNotFiniteBecomesSilence)
{
    for (std::size_t channels = 1; channels <= 3; ++channels) {
        for (const float broken : {kInfinity, -kInfinity, kNaN}) {
            std::vector<float> interleaved(channels * 9, 0.5f);
            interleaved[channels * 4] = broken;
            const std::vector<float> mono = mix(interleaved, channels);
            for (std::size_t frame = 0; frame < mono.size(); ++frame)
                EXPECT_EQ(mono[frame], frame == 4 ? 0.0f : 0.5f)
                    << broken << " in " << channels << " channels, frame " << frame;
        }
    }
}

TEST(MixToMono, ASumThatOverflowsBecomesSilence)
{
    EXPECT_EQ(mix({3e38f, 3e38f}, 2), std::vector<float>{0.0f});
    EXPECT_EQ(mix({1e38f, 1e38f}, 2), std::vector<float>{1e38f});
}

TEST(MixToMono, TheSmallestNumbersStay)
{
    EXPECT_EQ(mix({kSmallest}, 1), std::vector<float>{kSmallest});
    EXPECT_EQ(mix({kSmallest, kSmallest}, 2), std::vector<float>{kSmallest});
}

}  // namespace
