#include "key/CHQResample.h"

#include "key/CResampleFloat.h"
#include "noise.h"
#include "resamplerSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <vector>

namespace {

constexpr int kQuality = 5;
constexpr int kBlock = 1000;

std::unique_ptr<CResample_If> make(int inputRate, int outputRate)
{
    std::unique_ptr<CResample_If> resampler;
    EXPECT_EQ(CHQResample::create(resampler, inputRate, outputRate, kQuality, kBlock, 1), eboKey::kOk);
    return resampler;
}

std::vector<float> plain(int inputRate, int outputRate, const std::vector<float>& input)
{
    return testsupport::PlainResampler(inputRate, outputRate, kQuality).all(input);
}

TEST(CHQResample, GivesWhatTheResamplerGives)
{
    const std::vector<float> input = testsupport::noise(20000, 1);
    for (const int rate : {8192, 44100, 48000}) {
        const auto resampler = make(rate, 8192);
        EXPECT_EQ(resampler->maxOutput(), kBlock);
        EXPECT_EQ(testsupport::resampled(*resampler, input, [] { return kBlock; }), plain(rate, 8192, input));
    }
}

TEST(CHQResample, KeepsWhatExceedsABlockForTheNextCalls)
{
    const std::vector<float> input = testsupport::noise(2 * kBlock, 1);
    const std::vector<float> wanted = plain(8192, 44100, input);
    const auto resampler = make(8192, 44100);
    std::vector<float> output;
    std::vector<float> block(kBlock);
    for (std::size_t at = 0; at < input.size(); at += kBlock) {
        int count = resampler->process(&input[at], kBlock, block.data());
        EXPECT_EQ(count, kBlock);
        output.insert(output.end(), block.begin(), block.end());
        while (count == kBlock) {
            count = resampler->process(nullptr, 0, block.data());
            output.insert(output.end(), block.begin(), block.begin() + count);
        }
    }
    EXPECT_EQ(output, wanted);
}

TEST(CHQResample, InputOnTopOfALongRestIsIgnored)
{
    const std::vector<float> input = testsupport::noise(kBlock, 1);
    const std::vector<float> wanted = plain(8192, 44100, input);
    const auto resampler = make(8192, 44100);
    std::vector<float> output;
    std::vector<float> block(kBlock);
    const std::vector<float> ignored(kBlock, 1.0f);
    for (int i = 0; i < 5; ++i) {
        // More than a block is left over until all but the last has been given.
        const std::vector<float>& next = i == 0 ? input : ignored;
        const int count = resampler->process(next.data(), i == 4 ? 0 : kBlock, block.data());
        output.insert(output.end(), block.begin(), block.begin() + count);
    }
    ASSERT_GT(wanted.size(), output.size());
    EXPECT_EQ(output, std::vector<float>(wanted.begin(), wanted.begin() + 5 * kBlock));
}

TEST(CHQResample, AResetForgetsTheRest)
{
    const std::vector<float> input = testsupport::noise(kBlock, 1);
    const std::vector<float> wanted = plain(8192, 44100, input);
    const auto resampler = make(8192, 44100);
    std::vector<float> block(kBlock);
    resampler->process(testsupport::noise(kBlock, 2).data(), kBlock, block.data());
    resampler->reset();
    EXPECT_EQ(resampler->process(nullptr, 0, block.data()), 0);
    EXPECT_EQ(resampler->process(input.data(), kBlock, block.data()), kBlock);
    EXPECT_EQ(block, std::vector<float>(wanted.begin(), wanted.begin() + kBlock));
}

TEST(CHQResample, WhatTheResamplerRefusesIsRefused)
{
    std::unique_ptr<CResample_If> resampler = make(44100, 8192);
    EXPECT_EQ(CHQResample::create(resampler, 44100, 8192, 0, kBlock, 1), 5000003);
    EXPECT_EQ(resampler, nullptr);
    EXPECT_EQ(CHQResample::create(resampler, 44100, 8192, 121, kBlock, 1), 5000003);
    EXPECT_EQ(CHQResample::create(resampler, INT_MAX, 8192, kQuality, kBlock, 1), 5000003);
}

}  // namespace
