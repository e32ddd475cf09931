#include "formats/fixedPointToFloat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

TEST(FixedPointToFloat, InterleavesAnyNumberOfChannels)
{
    constexpr std::size_t kFrames = 37;
    for (std::size_t channels = 1; channels <= 8; ++channels) {
        std::vector<std::vector<std::int32_t>> planes(channels);
        std::vector<const std::int32_t*> pointers;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            for (std::size_t frame = 0; frame < kFrames; ++frame)
                planes[channel].push_back(static_cast<std::int32_t>(1000 * frame + channel) - 9000);
            pointers.push_back(planes[channel].data());
        }
        std::vector<float> target(channels * (kFrames - 5) + 1, 99.0f);
        interleaveScaled(pointers.data(), channels, 5, kFrames - 5, 0.1f, target.data());
        for (std::size_t i = 0; i + 1 < target.size(); ++i) {
            const auto value = static_cast<float>(planes[i % channels][5 + i / channels]);
            EXPECT_EQ(target[i], value * 0.1f) << "sample " << i << " of " << channels << " channels";
        }
        EXPECT_EQ(target.back(), 99.0f);
    }
}

TEST(FixedPointToFloat, NoFramesNeedNoTarget)
{
    const std::int32_t plane = 1;
    const std::int32_t* const planes[8] = {&plane, &plane, &plane, &plane, &plane, &plane, &plane, &plane};
    for (std::size_t channels = 1; channels <= 8; ++channels)
        interleaveScaled(planes, channels, 1, 0, 1.0f, nullptr);  // the sanitizers would object to a step
}

TEST(FixedPointToFloat, DividesEveryValueOfSixteenBits)
{
    std::vector<std::int16_t> samples;
    for (int value = -32768; value <= 32767; ++value)
        samples.push_back(static_cast<std::int16_t>(value));
    std::vector<float> target(samples.size());
    divide(samples.data(), samples.size(), 32767.0f, target.data());
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(target[i], static_cast<float>(samples[i]) / 32767.0f);
    EXPECT_EQ(target.back(), 1.0f);
    EXPECT_LT(target.front(), -1.0f);
}

}  // namespace
