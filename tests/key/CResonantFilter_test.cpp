#include "key/CResonantFilter.h"

#include "synth/signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace {

using eboDsp::CResonantFilter;

constexpr int kRate = 8192;  // Hz

/// The gain of a filter at a frequency, from the definition of its transfer function.
double gainAt(const CResonantFilter::Coefficients& c, double frequency)
{
    const auto z1 = std::polar(1.0, -2 * std::numbers::pi * frequency / kRate);
    return std::abs(double{c.gain} / (1.0 - double{c.a1} * z1 - double{c.a2} * z1 * z1));
}

std::vector<float> impulseResponse(CResonantFilter& filter, std::size_t samples)
{
    std::vector<float> signal(samples);
    signal[0] = 1.0f;
    filter.process(signal.data(), signal.data(), static_cast<int>(samples));
    return signal;
}

TEST(CResonantFilter, PassesItsOwnFrequencyUnchanged)
{
    for (const float frequency : {50.0f, 220.0f, 440.0f, 831.0f, 2048.0f, 4000.0f}) {
        const auto c = CResonantFilter::coefficients(frequency, 0.995f, kRate);
        EXPECT_NEAR(gainAt(c, double{frequency}), 1, 1e-3) << frequency << " Hz";
        EXPECT_LT(gainAt(c, double{frequency} * 1.2), 0.5) << frequency << " Hz";
    }
}

TEST(CResonantFilter, HalvesThePowerHalfAWidthAwayAsTheRadiusSays)
{
    for (const float frequency : {440.0f, 2048.0f}) {
        for (const double width : {1.6, 6.4, 25.0}) {
            const double radius = std::exp(-std::numbers::pi * width / kRate);
            const auto c = CResonantFilter::coefficients(frequency, static_cast<float>(radius), kRate);
            EXPECT_NEAR(gainAt(c, double{frequency} - width / 2), std::sqrt(0.5), 0.03) << width << " Hz";
            EXPECT_NEAR(gainAt(c, double{frequency} + width / 2), std::sqrt(0.5), 0.03) << width << " Hz";
        }
    }
}

TEST(CResonantFilter, AnImpulseRingsAsADyingSine)
{
    const double r = 0.999;
    const double w = 2 * std::numbers::pi * 440 / kRate;
    CResonantFilter filter(kRate);
    filter.design(440.0f, 0.999f);
    const auto response = impulseResponse(filter, 2000);
    const double gain = double{CResonantFilter::coefficients(440.0f, 0.999f, kRate).gain};
    for (std::size_t n = 0; n < response.size(); ++n) {
        const auto t = static_cast<double>(n);
        // The phase drifts by what single precision leaves of the coefficients.
        const double expected = gain * std::pow(r, t) * std::sin((t + 1) * w) / std::sin(w);
        ASSERT_NEAR(double{response[n]}, expected, 3e-6) << "sample " << n;
    }
}

TEST(CResonantFilter, IsMuteBeforeItsDesign)
{
    CResonantFilter filter(kRate);
    EXPECT_EQ(impulseResponse(filter, 10), std::vector<float>(10));
}

TEST(CResonantFilter, ANewDesignLeavesWhatRings)
{
    CResonantFilter filter(kRate);
    filter.design(440.0f, 0.999f);
    const auto response = impulseResponse(filter, 100);
    filter.design(600.0f, 0.99f);
    const auto c = CResonantFilter::coefficients(600.0f, 0.99f, kRate);
    float sample = 0.0f;
    filter.process(&sample, &sample, 1);
    EXPECT_EQ(sample, response[99] * c.a1 + response[98] * c.a2);
}

TEST(CResonantFilter, BlocksOfAnyLengthGiveTheSameBits)
{
    const auto noise = synth::noise({.seconds = 0.2, .sampleRate = kRate});
    CResonantFilter whole(kRate);
    CResonantFilter pieces(kRate);
    whole.design(300.0f, 0.999f);
    pieces.design(300.0f, 0.999f);
    std::vector<float> expected(noise.size());
    std::vector<float> seen(noise.size());
    whole.process(noise.data(), expected.data(), static_cast<int>(noise.size()));
    for (std::size_t i = 0; i < noise.size(); i += 7)
        pieces.process(&noise[i], &seen[i], static_cast<int>(std::min<std::size_t>(7, noise.size() - i)));
    EXPECT_EQ(seen, expected);
}

}  // namespace
