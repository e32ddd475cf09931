#include "key/ResonatorBank.h"

#include "key/CAverage.h"
#include "key/CResonantFilter.h"
#include "key/keyMusic.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using eboDsp::ResonatorBank;
using eboDsp::VectorWidth;
using testsupport::kKeyRate;

constexpr std::size_t kFilters = ResonatorBank::kFilters;
constexpr float kEnvelopeCoefficient = 0.95f;

struct Design {
    std::array<float, kFilters> frequencies;
    std::array<float, kFilters> radii;
};

Design semitones(double tuning)
{
    Design design{};
    for (std::size_t i = 0; i < kFilters; ++i) {
        const std::size_t semitone = i / 3;
        const double height = std::exp2(static_cast<double>(semitone) / 12);
        const double side = static_cast<double>(i % 3) - 1;
        design.frequencies[i] = static_cast<float>((tuning / 2 + 1.6 * side) * height);
        design.radii[i] = static_cast<float>(std::exp(-5.03 * height / kKeyRate));
    }
    return design;
}

/// Every filter and average by itself.
class OneAfterTheOther {
public:
    OneAfterTheOther()
    {
        for (CAverage& average : averages)
            average.setEnvelopeCoefficient(kEnvelopeCoefficient);
    }

    void design(const Design& design)
    {
        for (std::size_t i = 0; i < kFilters; ++i)
            filters[i].design(design.frequencies[i], design.radii[i]);
    }

    void process(const float* samples, int count)
    {
        std::vector<float> out(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < kFilters; ++i) {
            filters[i].process(samples, out.data(), count);
            averages[i].process(out.data(), count);
        }
    }

    std::vector<eboDsp::CResonantFilter> filters =
        std::vector<eboDsp::CResonantFilter>(kFilters, eboDsp::CResonantFilter(kKeyRate));
    std::vector<CAverage> averages = std::vector<CAverage>(kFilters, CAverage(kKeyRate));
};

std::uint32_t bits(float value) { return std::bit_cast<std::uint32_t>(value); }

class ResonatorBankWidths : public testing::TestWithParam<VectorWidth> {
protected:
    void SetUp() override
    {
        if (GetParam() > eboDsp::widestVectors())
            GTEST_SKIP() << "this processor has no vectors of " << static_cast<int>(GetParam()) << " floats";
    }
};

/// Runs the bank and the single filters over the signal, with another tuning every few hops.
void expectSameBits(VectorWidth width, const std::vector<float>& signal, std::size_t hop)
{
    ResonatorBank bank(kKeyRate, kEnvelopeCoefficient, width);
    OneAfterTheOther plain;
    double tuning = 440;
    for (std::size_t start = 0, n = 0; start + hop <= signal.size(); start += hop, ++n) {
        if (n % 5 == 0) {
            const Design design = semitones(tuning);
            bank.design(design.frequencies.data(), design.radii.data());
            plain.design(design);
            tuning *= 1.001;
        }
        bank.process(&signal[start], static_cast<int>(hop));
        plain.process(&signal[start], static_cast<int>(hop));
        ASSERT_EQ(bank.count(), plain.averages[0].count());
        for (std::size_t i = 0; i < kFilters; ++i) {
            const int filter = static_cast<int>(i);
            ASSERT_EQ(bits(bank.levels()[i]), bits(plain.averages[i].envelope()))
                << "filter " << i << " hop " << n;
            ASSERT_EQ(bits(bank.mean(filter)), bits(plain.averages[i].mean()))
                << "filter " << i << " hop " << n;
            ASSERT_EQ(bits(bank.slowMean(filter)), bits(plain.averages[i].slowMean())) << "filter " << i;
        }
    }
}

TEST_P(ResonatorBankWidths, HasTheBitsOf72FiltersOneAfterTheOtherInMusic)
{
    auto music = synth::houseLoop({.seconds = 6, .sampleRate = kKeyRate});
    testsupport::add(music,
                     synth::noise({.seconds = 6, .sampleRate = kKeyRate, .amplitude = 0.3, .seed = 9}));
    expectSameBits(GetParam(), music, 256);
}

TEST_P(ResonatorBankWidths, HasTheSameBitsInSilenceAndBehindMusic)
{
    std::vector<float> signal(4096);
    const auto noise = synth::noise({.seconds = 0.5, .sampleRate = kKeyRate});
    signal.insert(signal.end(), noise.begin(), noise.end());
    signal.resize(kKeyRate * 20, -3e-10f);
    expectSameBits(GetParam(), signal, 512);
}

TEST_P(ResonatorBankWidths, HasTheSameBitsAtAnyHop)
{
    const auto noise = synth::noise({.seconds = 0.3, .sampleRate = kKeyRate, .amplitude = 1e15});
    expectSameBits(GetParam(), noise, 1);
    expectSameBits(GetParam(), noise, 37);
}

INSTANTIATE_TEST_SUITE_P(Widths, ResonatorBankWidths,
                         testing::Values(VectorWidth::k4, VectorWidth::k8, VectorWidth::k16),
                         [](const auto& instance) {
                             return "Of" + std::to_string(static_cast<int>(instance.param));
                         });

TEST(ResonatorBank, HearsAToneLoudestInTheFilterOfItsFrequency)
{
    const Design design = semitones(440);
    for (const std::size_t note : {0U, 7U, 12U, 23U}) {
        ResonatorBank bank(kKeyRate, kEnvelopeCoefficient);
        bank.design(design.frequencies.data(), design.radii.data());
        const auto tone = testsupport::keyTone(testsupport::noteFrequency(static_cast<double>(note)), 3);
        bank.process(tone.data(), static_cast<int>(tone.size()));
        const auto loudest = std::max_element(bank.levels(), bank.levels() + kFilters) - bank.levels();
        EXPECT_EQ(loudest, static_cast<std::ptrdiff_t>(3 * note + 1));
        // An amplitude of 0.5 has the mean magnitude 1 / pi; the envelope's short memory adds a ripple.
        EXPECT_NEAR(double{bank.levels()[3 * note + 1]}, 1 / std::numbers::pi, 0.04) << "note " << note;
    }
}

TEST(ResonatorBank, IsMuteBeforeItsDesignAndUntouchedByNoSamples)
{
    ResonatorBank bank(kKeyRate, kEnvelopeCoefficient);
    const std::vector<float> loud(256, 1.0f);
    bank.process(loud.data(), 256);
    EXPECT_EQ(std::vector<float>(bank.levels(), bank.levels() + kFilters), std::vector<float>(kFilters));
    EXPECT_EQ(bank.count(), 256);
    bank.process(loud.data(), 0);
    EXPECT_EQ(bank.count(), 256);
}

}  // namespace
