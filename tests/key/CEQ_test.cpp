#include "key/CEqIf.h"

#include "synth/signals.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace {

using eboKey::CEqIf;

constexpr float kRate = 8192.0f;  // Hz

std::unique_ptr<CEqIf> highPass(float frequency, int channels = 1)
{
    std::unique_ptr<CEqIf> eq;
    EXPECT_EQ(CEqIf::create(eq, channels, CEqIf::kHighPass, kRate), eboKey::kOk);
    eq->setParam(frequency, 0.0f, 1.0f);
    return eq;
}

std::vector<float> filtered(CEqIf& eq, const std::vector<float>& in)
{
    std::vector<float> out(in.size());
    eq.process(in.data(), out.data(), static_cast<int>(in.size()));
    return out;
}

std::vector<float> impulse(std::size_t frames)
{
    std::vector<float> signal(frames);
    signal[0] = 1.0f;
    return signal;
}

double gainAt(const std::vector<float>& response, double frequency)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < response.size(); ++n) {
        const double phase = -2 * std::numbers::pi * frequency * static_cast<double>(n) / double{kRate};
        sum += double{response[n]} * std::polar(1.0, phase);
    }
    return std::abs(sum);
}

TEST(CEQ, HasTheResponseOfAButterworthHighPassOfSecondOrder)
{
    const auto eq = highPass(75.0f);
    const auto response = filtered(*eq, impulse(16384));
    const double corner = std::tan(std::numbers::pi * 75 / double{kRate});
    for (const double frequency : {5.0, 20.0, 50.0, 75.0, 150.0, 440.0, 1000.0, 3000.0, 4000.0}) {
        const double ratio = corner / std::tan(std::numbers::pi * frequency / double{kRate});
        EXPECT_NEAR(gainAt(response, frequency), 1 / std::sqrt(1 + std::pow(ratio, 4)), 2e-4)
            << frequency << " Hz";
    }
    EXPECT_NEAR(gainAt(response, 75), std::sqrt(0.5), 2e-4);
}

TEST(CEQ, TheFirstOutputsOfAnImpulseAreThoseOfTheRecursionByHand)
{
    const double k = std::tan(std::numbers::pi * 1024 / 8192);
    const double n = 1 / (1 + std::numbers::sqrt2 * k + k * k);
    const double a1 = 2 * n * (k * k - 1);
    const double a2 = n * (1 - std::numbers::sqrt2 * k + k * k);
    const double y0 = n;
    const double y1 = -2 * n - a1 * y0;
    const double y2 = n - a1 * y1 - a2 * y0;
    const double y3 = -a1 * y2 - a2 * y1;

    const auto eq = highPass(1024.0f);
    const auto response = filtered(*eq, impulse(4));
    EXPECT_NEAR(double{response[0]}, y0, 1e-6);
    EXPECT_NEAR(double{response[1]}, y1, 1e-6);
    EXPECT_NEAR(double{response[2]}, y2, 1e-6);
    EXPECT_NEAR(double{response[3]}, y3, 1e-6);
}

TEST(CEQ, SilenceKeepsATraceOfAnOffsetInsteadOfNumbersTooSmallForFullPrecision)
{
    const auto eq = highPass(75.0f);
    auto music = synth::noise({.seconds = 1, .sampleRate = 8192});
    music.resize(8192 * 61);
    const auto out = filtered(*eq, music);

    // Where the recursion y = -a1 y - a2 (y + 1e-12) comes to rest.
    const double k = std::tan(std::numbers::pi * 75 / double{kRate});
    const double rest = -1e-12 * (1 - std::numbers::sqrt2 * k + k * k) / (4 * k * k);
    EXPECT_NEAR(double{out.back()} / rest, 1, 0.01);
    for (const float sample : out)
        ASSERT_NE(std::fpclassify(sample), FP_SUBNORMAL);
}

TEST(CEQ, ChannelsDoNotHearEachOtherAndBothFormsGiveTheSameBits)
{
    const auto left = synth::noise({.seconds = 0.5, .sampleRate = 8192, .seed = 1});
    const auto right = synth::noise({.seconds = 0.5, .sampleRate = 8192, .seed = 2});
    const int frames = static_cast<int>(left.size());
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < left.size(); ++i) {
        interleaved.push_back(left[i]);
        interleaved.push_back(right[i]);
    }
    const auto both = highPass(75.0f, 2);
    both->process(interleaved.data(), interleaved.data(), frames);

    std::array<std::vector<float>, 2> planes{left, right};
    const std::array<float*, 2> pointers{planes[0].data(), planes[1].data()};
    highPass(75.0f, 2)->process(pointers.data(), pointers.data(), frames);

    const auto alone = filtered(*highPass(75.0f), right);
    for (std::size_t i = 0; i < left.size(); ++i) {
        ASSERT_EQ(interleaved[2 * i], planes[0][i]) << "frame " << i;
        ASSERT_EQ(interleaved[2 * i + 1], planes[1][i]) << "frame " << i;
        ASSERT_EQ(planes[1][i], alone[i]) << "frame " << i;
    }
}

TEST(CEQ, ParametersActAtTheNextProcess)
{
    const auto eq = highPass(20.0f);
    const auto noise = synth::noise({.seconds = 0.1, .sampleRate = 8192});
    EXPECT_EQ(filtered(*eq, noise), noise) << "so low a frequency bypasses";
    EXPECT_TRUE(eq->isBypassed());

    eq->setParam(75.0f, -3.0f, 2.0f);
    float frequency = 0.0f;
    float gain = 0.0f;
    float q = 0.0f;
    eq->getParam(&frequency, &gain, &q);
    EXPECT_FLOAT_EQ(frequency, 75.0f);
    EXPECT_EQ(gain, -3.0f);
    EXPECT_EQ(q, 2.0f);
    EXPECT_TRUE(eq->isBypassed()) << "not designed yet";
    EXPECT_EQ(filtered(*eq, noise), filtered(*highPass(75.0f), noise));
    EXPECT_FALSE(eq->isBypassed());
}

TEST(CEQ, IsBypassedBelowATwoHundredthOfTheSampleRate)
{
    const auto noise = synth::noise({.seconds = 0.1, .sampleRate = 8192});
    EXPECT_EQ(filtered(*highPass(40.9f), noise), noise);
    EXPECT_NE(filtered(*highPass(41.0f), noise), noise);
    auto inPlace = noise;
    highPass(40.9f)->process(inPlace.data(), inPlace.data(), static_cast<int>(inPlace.size()));
    EXPECT_EQ(inPlace, noise);
}

TEST(CEQ, StartsWithHalfTheSampleRate)
{
    std::unique_ptr<CEqIf> eq;
    ASSERT_EQ(CEqIf::create(eq, 1, CEqIf::kHighPass, kRate), eboKey::kOk);
    float frequency = 0.0f;
    float gain = 1.0f;
    float q = 0.0f;
    eq->getParam(&frequency, &gain, &q);
    EXPECT_EQ(frequency, 4096.0f);
    EXPECT_EQ(gain, 0.0f);
    EXPECT_EQ(q, 1.0f);
}

TEST(CEQ, ResetForgetsTheSignal)
{
    const auto eq = highPass(75.0f);
    const auto noise = synth::noise({.seconds = 0.5, .sampleRate = 8192});
    const auto first = filtered(*eq, noise);
    EXPECT_NE(filtered(*eq, noise), first);
    eq->reset();
    EXPECT_EQ(filtered(*eq, noise), first);
}

TEST(CEQ, RefusesOtherTypesAndNonsense)
{
    std::unique_ptr<CEqIf> eq = highPass(75.0f);
    for (const int type : {0, 1, 2, 3, 5, 6, -1, 7}) {
        EXPECT_EQ(CEqIf::create(eq, 1, type, kRate), eboKey::kInvalidArgument) << "type " << type;
        EXPECT_EQ(eq, nullptr);
    }
    EXPECT_EQ(CEqIf::create(eq, 0, CEqIf::kHighPass, kRate), eboKey::kInvalidArgument);
    EXPECT_EQ(CEqIf::create(eq, 1, CEqIf::kHighPass, 0.0f), eboKey::kInvalidArgument);
}

}  // namespace
