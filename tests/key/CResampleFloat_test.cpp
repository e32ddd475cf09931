#include "key/CResampleFloat.h"

#include "noise.h"
#include "resamplerSupport.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

namespace {

using eboDsp::VectorWidth;
using testsupport::noise;
using testsupport::PlainResampler;
using testsupport::resampled;
using testsupport::sineAt;
using testsupport::sineIn;

constexpr int kOutputRate = 8192;
constexpr int kQuality = 5;
constexpr int kBlock = 16384;

// 32001 Hz has as many phases as the output rate; at 96001 Hz the weights are too many for a table, and at
// 384000 Hz the four phases are less than a group of outputs.
constexpr int kInputRates[] = {8192,  11025, 12000, 16000, 22050, 32000,  32001,
                               44056, 44100, 48000, 96000, 96001, 192000, 384000};

std::unique_ptr<CResampleFloat> make(int inputRate, VectorWidth width = eboDsp::widestVectors(),
                                     int outputRate = kOutputRate, int quality = kQuality)
{
    std::unique_ptr<CResampleFloat> resampler;
    EXPECT_EQ(CResampleFloat::create(resampler, inputRate, outputRate, quality, kBlock, 1, width),
              eboKey::kOk);
    return resampler;
}

TEST(CResampleFloat, EveryWidthGivesTheBitsOfThePlainForm)
{
    for (const int rate : kInputRates) {
        const std::vector<float> input = noise(3 * rate / 4, 21);
        const std::vector<float> wanted = PlainResampler(rate, kOutputRate, kQuality).all(input);
        ASSERT_GT(wanted.size(), 5000u);
        for (const VectorWidth width : testsupport::availableWidths())
            EXPECT_EQ(resampled(*make(rate, width), input), wanted)
                << rate << " Hz, " << static_cast<int>(width) << " lanes";
    }
}

TEST(CResampleFloat, UpwardsTooItGivesTheBitsOfThePlainForm)
{
    const std::vector<float> input = noise(3000, 4);
    for (const int rate : {8193, 11025, 44100})
        for (const VectorWidth width : testsupport::availableWidths())
            EXPECT_EQ(resampled(*make(8192, width, rate), input),
                      PlainResampler(8192, rate, kQuality).all(input))
                << rate << " Hz, " << static_cast<int>(width) << " lanes";
}

TEST(CResampleFloat, EveryQualityGivesTheBitsOfThePlainForm)
{
    const std::vector<float> input = noise(12000, 8);
    for (const int quality : {1, 2, 3, 4, 13, 120})
        for (const int rate : {8192, 11025, 44100})
            for (const VectorWidth width : testsupport::availableWidths())
                EXPECT_EQ(resampled(*make(rate, width, kOutputRate, quality), input),
                          PlainResampler(rate, kOutputRate, quality).all(input))
                    << "quality " << quality << ", " << rate << " Hz, " << static_cast<int>(width)
                    << " lanes";
}

TEST(CResampleFloat, BlocksMayBeCutAnywhere)
{
    for (const int rate : {8192, 44100, 48000, 32001, 96001})
        for (const VectorWidth width : testsupport::availableWidths()) {
            const std::vector<float> input = sineAt(997.0, rate, 40000);
            const std::vector<float> whole = resampled(*make(rate, width), input);
            EXPECT_EQ(resampled(*make(rate, width), input, [] { return 1; }), whole) << rate;
            EXPECT_EQ(resampled(*make(rate, width), input, [] { return 7; }), whole) << rate;
            std::mt19937 generator(5);
            EXPECT_EQ(
                resampled(*make(rate, width), input, [&] { return static_cast<int>(generator() % 300); }),
                whole)
                << rate;
            EXPECT_EQ(
                resampled(*make(rate, width), input, [&] { return static_cast<int>(generator() % kBlock); }),
                whole)
                << rate;
        }
}

TEST(CResampleFloat, AgreesWithAWindowedSincInDoublePrecision)
{
    // What remains is the table's linear interpolation and a time resolution of 1/32768 of a frame.
    constexpr double kRolloff = 0.90390625;
    for (const int rate : kInputRates) {
        const double ratio = static_cast<double>(kOutputRate) / rate;
        const std::vector<float> input = noise(20000, 17);
        const std::vector<float> output = resampled(*make(rate), input);
        double worst = 0.0;
        for (std::size_t k = 0; k < output.size(); ++k) {
            const double time = static_cast<double>(k) * rate / kOutputRate;
            const double reach = kQuality / ratio;
            double wanted = 0.0;
            const auto end = std::min(static_cast<int>(time + reach), static_cast<int>(input.size()) - 1);
            for (int i = std::max(static_cast<int>(std::ceil(time - reach)), 0); i <= end; ++i)
                wanted += static_cast<double>(input[static_cast<std::size_t>(i)]) *
                          PlainResampler::windowedSinc(std::abs(i - time) * ratio, kQuality, kRolloff);
            worst = std::max(worst, std::abs(wanted * ratio * 0.99 - output[k]));
        }
        EXPECT_LT(worst, 1e-4) << rate << " Hz";
    }
}

/// How loud a tone comes out, 1 being as loud as it went in.
double gainAt(double frequency, int rate)
{
    const std::vector<float> output = resampled(*make(rate), sineAt(frequency, rate, 2 * rate));
    return std::abs(sineIn(output, frequency, kOutputRate, 100));
}

double decibels(double gain) { return 20.0 * std::log10(gain); }

TEST(CResampleFloat, TonesOfMusicPassAsLoudAsTheGainSays)
{
    for (const int rate : {22050, 44100, 48000, 96000})
        for (const double frequency : {30.0, 110.0, 440.0, 880.0, 1200.0, 1600.0})
            EXPECT_NEAR(decibels(gainAt(frequency, rate) / 0.99), 0.0, 0.15)
                << frequency << " Hz at " << rate << " Hz";
}

TEST(CResampleFloat, HalfTheAmplitudeIsLeftAtThreeThousandSevenHundredHertz)
{
    for (const int rate : {22050, 44100, 48000, 96000})
        EXPECT_NEAR(gainAt(3702.0, rate) / 0.99, 0.5, 0.01) << rate;
}

TEST(CResampleFloat, WhatLiesAboveTheNewBandDoesNotComeBack)
{
    for (const int rate : {44100, 48000, 96000})
        for (int frequency = 5500; frequency < rate / 2; frequency += 731) {
            const std::vector<float> output = resampled(*make(rate), sineAt(frequency, rate, rate / 2));
            float loudest = 0.0f;
            for (std::size_t i = 100; i < output.size(); ++i)
                loudest = std::max(loudest, std::abs(output[i]));
            EXPECT_LT(decibels(loudest), -40.0) << frequency << " Hz at " << rate << " Hz";
        }
}

TEST(CResampleFloat, AConstantComesOutByTheGainSmaller)
{
    for (const int rate : kInputRates) {
        const std::vector<float> output =
            resampled(*make(rate), std::vector<float>(static_cast<std::size_t>(rate), 1.0f));
        for (std::size_t i = 100; i < output.size(); ++i)
            ASSERT_NEAR(output[i], 0.99f, 0.003f) << rate << " Hz, output " << i;
    }
}

TEST(CResampleFloat, OutputsLieWhereTheyBelong)
{
    for (const int rate : kInputRates) {
        const std::complex<double> tone =
            sineIn(resampled(*make(rate), sineAt(1000.0, rate, 2 * rate)), 1000.0, kOutputRate, 100);
        // The sine starts at 0 in the first input frame, so it does so in the first output.
        EXPECT_NEAR(std::arg(tone), 0.0, 1e-4) << rate << " Hz";
    }
}

TEST(CResampleFloat, NothingDrifts)
{
    // A second has a whole number of periods of the tone, and of frames at either rate: every second's
    // outputs are the same bits, however late it is.
    for (const int rate : {44100, 48000, 32001}) {
        const std::vector<float> second = sineAt(441.0, rate, rate);
        const auto resampler = make(rate);
        std::vector<float> early;
        std::vector<float> late;
        for (int i = 0; i < 2; ++i)
            early = resampled(*resampler, second);
        for (int i = testsupport::repetitions(300); i > 0; --i)
            late = resampled(*resampler, second);
        ASSERT_EQ(early.size(), static_cast<std::size_t>(kOutputRate));
        EXPECT_EQ(late, early) << rate << " Hz";
    }
}

TEST(CResampleFloat, AnImpulseShowsTheWindowedSinc)
{
    constexpr int kAt = 5000;
    for (const int rate : {8192, 44100, 48000}) {
        std::vector<float> input(10000);
        input[kAt] = 1.0f;
        const std::vector<float> output = resampled(*make(rate), input);
        const double ratio = static_cast<double>(kOutputRate) / rate;
        for (std::size_t k = 0; k < output.size(); ++k) {
            const double crossings = std::abs(static_cast<double>(k) - kAt * ratio);
            const double wanted =
                crossings < kQuality
                    ? 0.99 * ratio * PlainResampler::windowedSinc(crossings, kQuality, 0.90390625)
                    : 0.0;
            EXPECT_NEAR(output[k], wanted, 5e-5) << rate << " Hz, output " << k;
        }
    }
}

TEST(CResampleFloat, TheOutputRateItselfPassesTheFilterToo)
{
    // At the middle of the wing 0.99 times the roll-off is left of an impulse.
    std::vector<float> input(200);
    input[100] = 1.0f;
    const std::vector<float> output = resampled(*make(kOutputRate), input);
    EXPECT_FLOAT_EQ(output[100], 0.99f * 0.90390625f);
    EXPECT_NE(output[99], 0.0f);
    EXPECT_EQ(output[99], output[101]);
}

TEST(CResampleFloat, ABlockOfCdSoundGivesAFifthOfIt)
{
    const auto resampler = make(44100);
    const std::vector<float> block = noise(kBlock, 2);
    std::vector<float> out(static_cast<std::size_t>(resampler->maxOutput()));
    EXPECT_EQ(resampler->maxOutput(), 3044);  // 16384 * 8192 / 44100 = 3043.5
    // The first outputs wait for the 27 frames of their right wing: (16384 - 27) * 8192 / 44100 = 3038.5
    EXPECT_EQ(resampler->process(block.data(), kBlock, out.data()), 3039);
    int sum = 0;
    for (int i = 0; i < 100; ++i) {
        const int count = resampler->process(block.data(), kBlock, out.data());
        EXPECT_GE(count, 3043);
        EXPECT_LE(count, 3044);
        sum += count;
    }
    EXPECT_NEAR(sum, 100 * 16384.0 * 8192 / 44100, 1.0);
}

TEST(CResampleFloat, AnOutputComesWithTheLastFrameOfItsRightWing)
{
    for (const int rate : kInputRates) {
        const auto resampler = make(rate);
        const PlainResampler plain(rate, kOutputRate, kQuality);
        ASSERT_EQ(resampler->wing(), plain.wing());
        std::vector<float> out(static_cast<std::size_t>(resampler->maxOutput()));
        std::int64_t made = 0;
        const float silence = 0.0f;
        for (int frames = 1; frames <= 3000; ++frames) {
            made += resampler->process(&silence, 1, out.data());
            ASSERT_EQ(made, plain.count(frames)) << rate << " Hz, after " << frames << " frames";
        }
    }
}

TEST(CResampleFloat, NoFramesGiveNoOutputs)
{
    const auto resampler = make(44100);
    EXPECT_EQ(resampler->process(nullptr, 0, nullptr), 0);
    const std::vector<float> input = noise(5000, 3);
    const std::vector<float> wanted = resampled(*make(44100), input);
    int turn = 0;
    EXPECT_EQ(resampled(*resampler, input, [&] { return ++turn % 2 * 50; }), wanted);
}

TEST(CResampleFloat, AResetStartsANewStream)
{
    for (const int rate : {44100, 96001}) {
        const auto resampler = make(rate);
        const std::vector<float> input = noise(20001, 3);
        const std::vector<float> first = resampled(*resampler, input);
        resampler->reset();
        EXPECT_EQ(resampled(*resampler, input), first);
    }
}

TEST(CResampleFloat, SilenceStaysSilent)
{
    const std::vector<float> output = resampled(*make(44100), std::vector<float>(50000, 0.0f));
    EXPECT_EQ(output, std::vector<float>(output.size(), 0.0f));
}

TEST(CResampleFloat, WhatIsNotFiniteLeavesWithTheWings)
{
    constexpr int kAt = 20000;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const int rate : {44100, 96001})
        for (const VectorWidth width : testsupport::availableWidths())
            for (const float bad : {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity,
                                    std::numeric_limits<float>::max()}) {
                std::vector<float> input = noise(40000, 6);
                const std::vector<float> clean = resampled(*make(rate, width), input);
                input[kAt] = input[kAt + 1] = bad;
                const auto resampler = make(rate, width);
                const std::vector<float> output = resampled(*resampler, input, [] { return 997; });
                ASSERT_EQ(output.size(), clean.size());
                for (std::size_t k = 0; k < output.size(); ++k) {
                    const auto base = static_cast<int>(static_cast<std::int64_t>(k) * rate / kOutputRate);
                    const bool isTouched =
                        base + resampler->wing() >= kAt && base - resampler->wing() < kAt + 1;
                    ASSERT_TRUE(isTouched || output[k] == clean[k])
                        << "output " << k << " of " << rate << " Hz: " << output[k];
                }
            }
}

TEST(CResampleFloat, ArgumentsOutOfRangeAreRefused)
{
    struct Arguments {
        int inputRate;
        int outputRate;
        int quality;
        int maxBlock;
        int channels;
    };
    for (const Arguments& bad : {Arguments{44100, 8192, 0, 16384, 1}, Arguments{44100, 8192, 121, 16384, 1},
                                 Arguments{44100, 8192, -5, 16384, 1},
                                 Arguments{44100, 8192, INT_MAX, 16384, 1}, Arguments{0, 8192, 5, 16384, 1},
                                 Arguments{-44100, 8192, 5, 16384, 1}, Arguments{INT_MIN, 8192, 5, 16384, 1},
                                 Arguments{44100, 0, 5, 16384, 1}, Arguments{44100, -8192, 5, 16384, 1},
                                 Arguments{44100, 8192, 5, 0, 1}, Arguments{44100, 8192, 5, -1, 1},
                                 Arguments{44100, 8192, 5, INT_MAX, 1}, Arguments{44100, 8192, 5, 16384, 0},
                                 Arguments{44100, 8192, 5, 16384, 2}, Arguments{44100, 8192, 5, 16384, -1}}) {
        auto resampler = make(44100);
        EXPECT_EQ(CResampleFloat::create(resampler, bad.inputRate, bad.outputRate, bad.quality, bad.maxBlock,
                                         bad.channels),
                  5000003)
            << bad.inputRate << " " << bad.outputRate << " " << bad.quality << " " << bad.maxBlock << " "
            << bad.channels;
        EXPECT_EQ(resampler, nullptr);
    }
}

TEST(CResampleFloat, RatesThatWouldNeedBoundlessMemoryAreRefused)
{
    std::unique_ptr<CResampleFloat> resampler;
    EXPECT_EQ(CResampleFloat::create(resampler, INT_MAX, 8192, kQuality, kBlock, 1), 5000003);
    EXPECT_EQ(CResampleFloat::create(resampler, INT_MAX, 1, kQuality, kBlock, 1), 5000003);
    EXPECT_EQ(CResampleFloat::create(resampler, 7000000, 8192, kQuality, kBlock, 1), 5000003);
    EXPECT_EQ(CResampleFloat::create(resampler, 1, 8192, kQuality, kBlock, 1), 5000003);
    EXPECT_EQ(CResampleFloat::create(resampler, 1, INT_MAX, kQuality, kBlock, 1), 5000003);
}

TEST(CResampleFloat, TheLastPossibleRatesWork)
{
    const std::vector<float> input = noise(3 * kBlock, 12);
    struct Rates {
        int input;
        int output;
    };
    for (const Rates& rates :
         {Rates{6144000, 8192}, Rates{6543210, 8192}, Rates{INT_MAX, INT_MAX}, Rates{INT_MAX, INT_MAX - 1},
          Rates{INT_MAX - 1, INT_MAX}, Rates{1, 1}, Rates{1, 60}, Rates{600, 1}})
        for (const VectorWidth width : testsupport::availableWidths())
            EXPECT_EQ(resampled(*make(rates.input, width, rates.output), input),
                      PlainResampler(rates.input, rates.output, kQuality).all(input))
                << rates.input << " to " << rates.output << " Hz";
}

}  // namespace
