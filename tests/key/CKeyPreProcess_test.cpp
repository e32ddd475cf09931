#include "key/CKeyPreProcess.h"

#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using eboKey::CKeyPreProcess;
using eboKey::CRingBuffer;

constexpr int kOutputRate = 8192;  // Hz
constexpr int kMaxBlock = 16384;   // frames

std::unique_ptr<CKeyPreProcess> make(int inputRate, int channels = 1, int fast = 0)
{
    std::unique_ptr<CKeyPreProcess> preProcess;
    EXPECT_EQ(CKeyPreProcess::create(preProcess, inputRate, kOutputRate, channels, kMaxBlock, fast),
              eboKey::kOk);
    return preProcess;
}

void drain(CRingBuffer& ring, std::vector<float>& target)
{
    const auto count = static_cast<std::size_t>(ring.readable());
    target.resize(target.size() + count);
    ring.take(target.data() + target.size() - count, static_cast<int>(count));
}

/// Everything that comes out, in blocks of the given length, with nothing left waiting.
std::vector<float> processed(CKeyPreProcess& preProcess, const std::vector<float>& interleaved,
                             int channels = 1, std::size_t blockFrames = kMaxBlock)
{
    CRingBuffer ring;
    std::vector<float> out;
    const std::size_t frames = interleaved.size() / static_cast<std::size_t>(channels);
    for (std::size_t start = 0; start < frames; start += blockFrames) {
        int count = static_cast<int>(std::min(blockFrames, frames - start));
        preProcess.process(&interleaved[start * static_cast<std::size_t>(channels)], ring, &count);
        do
            drain(ring, out);
        while (preProcess.appendRest(ring) > 0);
    }
    return out;
}

/// The root of the mean square of the second half of a signal, where filters have settled.
double settledLevel(const std::vector<float>& signal)
{
    const std::size_t half = signal.size() / 2;
    double sum = 0;
    for (std::size_t i = half; i < 2 * half; ++i)
        sum += double{signal[i]} * double{signal[i]};
    return std::sqrt(sum / static_cast<double>(half));
}

/// The gain of a tone on its way through.
double gainOf(double frequency, int inputRate)
{
    const auto tone = synth::sine({.frequency = frequency,
                                   .seconds = 4,
                                   .sampleRate = static_cast<unsigned>(inputRate),
                                   .amplitude = 0.5});
    return settledLevel(processed(*make(inputRate), tone)) / (0.5 * std::sqrt(0.5));
}

double butterworthGain(double frequency)
{
    const double ratio =
        std::tan(std::numbers::pi * 75 / kOutputRate) / std::tan(std::numbers::pi * frequency / kOutputRate);
    return 1 / std::sqrt(1 + std::pow(ratio, 4));
}

std::vector<float> noise(double seconds, int rate, std::uint32_t seed = 1)
{
    return synth::noise(
        {.seconds = seconds, .sampleRate = static_cast<unsigned>(rate), .amplitude = 0.5, .seed = seed});
}

TEST(CKeyPreProcess, PassesMusicAtAHundredthLess)
{
    for (const int rate : {8192, 22050, 44100, 48000, 96000})
        EXPECT_NEAR(gainOf(1000, rate), 0.99, 0.005) << rate << " Hz";
}

TEST(CKeyPreProcess, TakesAwayWhatLiesBelowTheMusic)
{
    for (const double frequency : {20.0, 40.0, 75.0, 150.0})
        EXPECT_NEAR(gainOf(frequency, 44100), 0.99 * butterworthGain(frequency), 0.005) << frequency << " Hz";
    EXPECT_LT(gainOf(20, 44100), 0.08);
}

TEST(CKeyPreProcess, TakesAwayWhatTheOutputRateCannotCarry)
{
    EXPECT_LT(gainOf(6000, 44100), 1e-3);
    EXPECT_LT(gainOf(15000, 44100), 1e-3);
}

TEST(CKeyPreProcess, SamplesOfTheOutputRateGoThroughTheResamplerToo)
{
    // With its gain of 0.99, and less of what is near half the rate.
    EXPECT_NEAR(gainOf(1000, 8192), 0.99, 0.005);
    EXPECT_LT(gainOf(4050, 8192), 0.7);
}

TEST(CKeyPreProcess, SaysHowManySamplesItMade)
{
    const auto preProcess = make(44100);
    CRingBuffer ring;
    const auto input = noise(1, 44100);
    int frames = kMaxBlock;
    preProcess->process(input.data(), ring, &frames);
    EXPECT_NEAR(frames, 3043, 10);
    EXPECT_EQ(frames, ring.readable());
    frames = 0;
    preProcess->process(input.data(), ring, &frames);
    EXPECT_EQ(frames, 0);
}

TEST(CKeyPreProcess, ChannelsAreSummedWithoutDivision)
{
    const auto tone = synth::sine({.frequency = 440, .seconds = 2, .amplitude = 0.25});
    std::vector<float> same;
    std::vector<float> opposite;
    for (const float sample : tone) {
        same.insert(same.end(), {sample, sample, sample});
        opposite.insert(opposite.end(), {sample, -sample, 0.0f});
    }
    const double mono = settledLevel(processed(*make(44100), tone));
    EXPECT_NEAR(settledLevel(processed(*make(44100, 3), same, 3)), 3 * mono, 1e-4);
    EXPECT_LT(settledLevel(processed(*make(44100, 3), opposite, 3)), 1e-8);
}

TEST(CKeyPreProcess, InterleavedSamplesAndChannelPointersGiveTheSameBits)
{
    const std::array<std::vector<float>, 3> planes{noise(0.3, 44100, 1), noise(0.3, 44100, 2),
                                                   noise(0.3, 44100, 3)};
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < planes[0].size(); ++i)
        for (const auto& plane : planes)
            interleaved.push_back(plane[i]);
    const std::array<const float*, 3> pointers{planes[0].data(), planes[1].data(), planes[2].data()};

    for (const int channels : {1, 3}) {
        const auto& flat = channels == 1 ? planes[0] : interleaved;
        int flatFrames = static_cast<int>(planes[0].size());
        int planeFrames = flatFrames;
        CRingBuffer flatRing;
        CRingBuffer planeRing;
        make(44100, channels)->process(flat.data(), flatRing, &flatFrames);
        make(44100, channels)->process(pointers.data(), planeRing, &planeFrames);
        std::vector<float> flatOut;
        std::vector<float> planeOut;
        drain(flatRing, flatOut);
        drain(planeRing, planeOut);
        EXPECT_GT(flatFrames, 2000);
        EXPECT_EQ(planeFrames, flatFrames);
        EXPECT_EQ(planeOut, flatOut) << channels << " channels";
    }
}

TEST(CKeyPreProcess, WhatDoesNotFitIntoTheRingComesLaterInOrder)
{
    for (const int rate : {8192, 10900}) {
        // At 10900 Hz a block makes 26 samples more than three blocks of the loop: it takes a while to fill
        // up.
        const auto input = noise(rate == 8192 ? 12 : 300, rate);
        // Small blocks, of which none fills the ring.
        const auto expected = processed(*make(rate), input, 1, 512);

        // A block loop of 4096 samples leaves up to 4095 in the ring, so that the next large block does not
        // fit.
        const auto preProcess = make(rate);
        CRingBuffer ring;
        std::vector<float> seen;
        int waited = 0;
        for (std::size_t start = 0; start < input.size(); start += kMaxBlock) {
            int frames = static_cast<int>(std::min<std::size_t>(kMaxBlock, input.size() - start));
            const int before = ring.readable();
            preProcess->process(&input[start], ring, &frames);
            waited += before + frames - ring.readable();
            do {
                while (ring.readable() >= 4096) {
                    seen.resize(seen.size() + 4096);
                    ring.take(seen.data() + seen.size() - 4096, 4096);
                }
            } while (preProcess->appendRest(ring) > 0);
        }
        drain(ring, seen);
        EXPECT_GT(waited, 0) << rate << " Hz: the ring was never full";
        ASSERT_GE(seen.size() + 1, expected.size());
        seen.resize(std::min(seen.size(), expected.size()));
        EXPECT_TRUE(std::equal(seen.begin(), seen.end(), expected.begin())) << rate << " Hz";
    }
}

TEST(CKeyPreProcess, ABlockIsNotTakenWhileThereIsNoRoomForWhatWaits)
{
    const auto input = noise(6, 8192);
    const auto preProcess = make(8192);
    CRingBuffer ring;
    const auto process = [&](std::size_t start) {
        int frames = kMaxBlock;
        preProcess->process(&input[start], ring, &frames);
        return frames;
    };
    const int first = process(0);
    EXPECT_GT(first, 16000);
    const int second = process(kMaxBlock);
    EXPECT_GT(second, 16000) << "all but little of it waits";
    EXPECT_EQ(ring.writable(), 0);
    EXPECT_EQ(process(2 * kMaxBlock), 0);
    EXPECT_EQ(preProcess->appendRest(ring), 0);

    std::vector<float> seen;
    do
        drain(ring, seen);
    while (preProcess->appendRest(ring) > 0);
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(first) + static_cast<std::size_t>(second));
    const auto expected = processed(*make(8192), input);
    EXPECT_TRUE(std::equal(seen.begin(), seen.end(), expected.begin()));
}

TEST(CKeyPreProcess, ABlockThatFollowsTooSoonFirstLetsInWhatWaits)
{
    const auto input = noise(4, 8192);
    const auto preProcess = make(8192);
    CRingBuffer ring;
    int total = 0;
    const auto process = [&](std::size_t start, int frames) {
        preProcess->process(&input[start], ring, &frames);
        EXPECT_GT(frames, 0);
        total += frames;
    };
    process(0, 10000);
    process(10000, 10000);
    EXPECT_EQ(ring.writable(), 0) << "some of it waits";
    std::vector<float> seen(9000);
    ring.take(seen.data(), 9000);
    process(20000, 4000);
    EXPECT_EQ(ring.readable() + 9000, total) << "nothing waits";
    drain(ring, seen);
    const auto expected = processed(*make(8192), input);
    EXPECT_TRUE(std::equal(seen.begin(), seen.end(), expected.begin()));
}

TEST(CKeyPreProcess, RefusesBlocksLongerThanAgreed)
{
    const auto preProcess = make(44100);
    CRingBuffer ring;
    const auto input = noise(1, 44100);
    for (int frames : {kMaxBlock + 1, -1}) {
        preProcess->process(input.data(), ring, &frames);
        EXPECT_EQ(frames, 0);
        const std::array<const float*, 1> channels{input.data()};
        frames = kMaxBlock + 1;
        preProcess->process(channels.data(), ring, &frames);
        EXPECT_EQ(frames, 0);
    }
    EXPECT_EQ(ring.readable(), 0);
}

TEST(CKeyPreProcess, TheHugestSamplesLeaveFiniteOutputAndItRecovers)
{
    for (const int channels : {1, 2}) {
        auto input = noise(4, 44100);
        const auto quiet = input;
        for (std::size_t i = 44100; i < 44200; ++i)
            input[i] = i % 3 == 0 ? -3e38f : 1e38f;
        if (channels == 2) {
            std::vector<float> stereo;
            for (const float sample : input)
                stereo.insert(stereo.end(), {sample, sample});
            input = stereo;
        }
        const auto out = processed(*make(44100, channels), input, channels);
        float largest = 0.0f;
        for (const float sample : out) {
            ASSERT_TRUE(std::isfinite(sample));
            largest = std::max(largest, std::abs(sample));
        }
        EXPECT_LE(largest, CKeyPreProcess::kLargestOutput);

        // Three blocks later the output is what it would have been, but for the filter's fresh start.
        const auto expected = processed(*make(44100), quiet);
        const auto factor = static_cast<float>(channels);
        ASSERT_EQ(out.size(), expected.size());
        for (std::size_t i = 20000; i < out.size(); ++i)
            ASSERT_NEAR(out[i], factor * expected[i], 1e-5f) << "sample " << i;
    }
}

TEST(CKeyPreProcess, LargeButHarmlessSamplesPass)
{
    auto input = noise(2, 44100);
    for (float& sample : input)
        sample *= 1e14f;
    EXPECT_GT(settledLevel(processed(*make(44100), input)), 1e12);
}

TEST(CKeyPreProcess, SilenceBehindMusicStaysInFullPrecision)
{
    auto input = synth::houseLoop({.seconds = 10});
    input.resize(44100U * 40);
    for (const float sample : processed(*make(44100), input))
        ASSERT_NE(std::fpclassify(sample), FP_SUBNORMAL);
}

TEST(CKeyPreProcess, TheFastResamplerServesAsWell)
{
    const auto tone = synth::sine({.frequency = 440, .seconds = 2, .amplitude = 0.5});
    const auto out = processed(*make(44100, 1, 1), tone);
    EXPECT_NEAR(settledLevel(out), 0.5 * std::sqrt(0.5), 0.005);
    EXPECT_NEAR(static_cast<double>(out.size()), 2 * kOutputRate, 10);
}

TEST(CKeyPreProcess, RefusesWhatCannotBe)
{
    std::unique_ptr<CKeyPreProcess> preProcess = make(44100);
    EXPECT_EQ(CKeyPreProcess::create(preProcess, 8191, 8192, 1, kMaxBlock, 0), eboKey::kSampleRateTooLow);
    EXPECT_EQ(preProcess, nullptr);
    EXPECT_EQ(CKeyPreProcess::create(preProcess, 0, 8192, 1, kMaxBlock, 0), eboKey::kSampleRateTooLow);
    EXPECT_EQ(CKeyPreProcess::create(preProcess, 44100, 0, 1, kMaxBlock, 0), eboKey::kInvalidArgument);
    EXPECT_EQ(CKeyPreProcess::create(preProcess, 44100, 8192, 0, kMaxBlock, 0), eboKey::kInvalidArgument);
    EXPECT_EQ(CKeyPreProcess::create(preProcess, 44100, 8192, 1, 0, 0), eboKey::kInvalidArgument);
}

}  // namespace
