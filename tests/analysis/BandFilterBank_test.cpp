#include "analysis/BandFilterBank.h"

#include "analysis/FlushTinyNumbers.h"

#include "synth/signals.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace {

using Levels = std::array<float, BandFilterBank::kBands>;

/// The gain of one filter at a frequency, from the definition of its transfer function.
double gainAt(const BandFilterBank::Coefficients& c, double frequency, double sampleRate)
{
    const auto z1 = std::polar(1.0, -2 * std::numbers::pi * frequency / sampleRate);
    const double b0 = c.b0;
    return std::abs((b0 - b0 * z1 * z1) / (1.0 + double{c.a1} * z1 + double{c.a2} * z1 * z1));
}

TEST(BandFilterBank, EachBandPassesItsCentreAndHalvesThePowerHalfAnOctaveAway)
{
    for (const float centre : BandFilterBank::kCentreFrequencies) {
        const auto c = BandFilterBank::coefficients(centre, 44100.0f);
        EXPECT_NEAR(gainAt(c, centre, 44100), 1.0, 2e-3) << centre << " Hz";
        if (centre > 3000)
            continue;  // near half the sample rate the bilinear transform bends the flanks
        EXPECT_NEAR(gainAt(c, centre * std::numbers::sqrt2, 44100), std::sqrt(0.5), 0.02) << centre;
        EXPECT_NEAR(gainAt(c, centre / std::numbers::sqrt2, 44100), std::sqrt(0.5), 0.02) << centre;
    }
}

TEST(BandFilterBank, ASineHasTheLevelRootOfAHalfInItsBand)
{
    for (std::size_t band = 0; band < BandFilterBank::kBands; ++band) {
        const auto signal =
            synth::sine({.frequency = BandFilterBank::kCentreFrequencies[band], .seconds = 2});
        BandFilterBank bank(44100.0f);
        Levels levels;
        bank.process(signal.data(), 44100, levels.data());
        bank.process(signal.data() + 44100, 44100, levels.data());
        EXPECT_NEAR(levels[band], std::sqrt(0.5), 0.005) << "band " << band;
        for (std::size_t other = 0; other < BandFilterBank::kBands; ++other) {
            if (other + 1 < band || other > band + 1) {
                EXPECT_LT(levels[other], 0.3) << "band " << other << ", sine of band " << band;
            }
        }
    }
}

TEST(BandFilterBank, TheLanesHaveTheBitsOfNineFiltersOneAfterTheOther)
{
    for (const float sampleRate : {8000.0f, 11025.0f, 44100.0f, 48000.0f, 192000.0f}) {
        const auto signal = synth::noise({.seconds = 1, .amplitude = 0.7, .seed = 77});
        BandFilterBank bank(sampleRate);
        Levels levels;
        struct Memory {
            float w1 = 0.0f;
            float w2 = 0.0f;
        };
        std::array<Memory, BandFilterBank::kBands> memories;
        for (std::size_t start = 0; start + 70 <= signal.size(); start += 70) {
            bank.process(signal.data() + start, 70, levels.data());
            for (std::size_t band = 0; band < BandFilterBank::kBands; ++band) {
                const auto c =
                    BandFilterBank::coefficients(BandFilterBank::kCentreFrequencies[band], sampleRate);
                Memory& m = memories[band];
                float sum = 0.0f;
                for (std::size_t i = start; i < start + 70; ++i) {
                    const float w = signal[i] - c.a1 * m.w1 - c.a2 * m.w2;
                    const float y = (w - m.w2) * c.b0;
                    sum += y * y;
                    m.w2 = m.w1;
                    m.w1 = w;
                }
                ASSERT_EQ(levels[band], std::sqrt(sum / 70.0f))
                    << "band " << band << ", frame " << start / 70 << ", " << sampleRate << " Hz";
            }
        }
    }
}

TEST(BandFilterBank, TheFiltersRunOnFromFrameToFrame)
{
    const auto signal = synth::sine({.frequency = 130, .seconds = 1});
    BandFilterBank bank(44100.0f);
    Levels levels;
    for (std::size_t start = 0; start + 70 <= signal.size(); start += 70)
        bank.process(signal.data() + start, 70, levels.data());
    // A frame is a fifth of the sine's period: fresh filters in each would see hardly anything of it.
    EXPECT_GT(levels[2], 0.2f);
}

TEST(BandFilterBank, AfterMusicDigitalSilenceComesToRest)
{
    const auto signal = synth::noise({.seconds = 1});
    BandFilterBank bank(44100.0f);
    Levels levels;
    bank.process(signal.data(), 44100, levels.data());
    const std::vector<float> silence(70, 0.0f);
    const analysis::FlushTinyNumbers scope;
    for (int frame = 0; frame < 630 * 5; ++frame)
        bank.process(silence.data(), 70, levels.data());
    EXPECT_EQ(levels, Levels{});
}

TEST(BandFilterBank, AtEveryRateEveryLevelIsANumber)
{
    const auto signal = synth::noise({.seconds = 0.1});
    for (int rate = 315; rate < 50000; rate += 13) {
        const auto sampleRate = static_cast<float>(rate);
        BandFilterBank bank(sampleRate);
        Levels levels;
        bank.process(signal.data(), 500, levels.data());
        for (std::size_t band = 0; band < BandFilterBank::kBands; ++band)
            ASSERT_TRUE(levels[band] >= 0.0f && levels[band] <= BandFilterBank::kHighestLevel)
                << "band " << band << " at " << sampleRate << " Hz: " << levels[band];
    }
}

TEST(BandFilterBank, ABandWithoutFiniteCoefficientsIsMute)
{
    // Where the centre is all but half the sample rate, the bandwidth in the formula has no bounds. Such a
    // rate is searched for among the floats around twice the highest centre frequency.
    float rate = 2 * 8317.5f;
    const float end = rate * 1.02f;
    rate *= 0.98f;
    while (rate < end && BandFilterBank::coefficients(8317.5f, rate).finite())
        rate = std::nextafter(rate, end);
    ASSERT_LT(rate, end) << "no such rate";

    const auto signal = synth::noise({.seconds = 1});
    BandFilterBank bank(rate);
    Levels levels;
    bank.process(signal.data(), 16000, levels.data());
    EXPECT_EQ(levels[8], 0.0f);
    EXPECT_GT(levels[7], 0.0f);
}

TEST(BandFilterBank, HugeSamplesOverflowToTheHighestLevelAndPass)
{
    BandFilterBank bank(44100.0f);
    std::vector<float> huge(70, 0.0f);
    for (std::size_t i = 0; i < huge.size(); ++i)
        huge[i] = i % 2 == 0 ? 3e38f : -3e38f;
    Levels levels;
    bank.process(huge.data(), 70, levels.data());
    for (const float level : levels)
        EXPECT_TRUE(level >= 0.0f && level <= BandFilterBank::kHighestLevel) << level;
    EXPECT_EQ(levels[8], BandFilterBank::kHighestLevel);

    const auto signal = synth::sine({.frequency = 8317.5, .seconds = 5});
    for (std::size_t start = 0; start + 70 <= signal.size(); start += 70)
        bank.process(signal.data() + start, 70, levels.data());
    EXPECT_NEAR(levels[8], std::sqrt(0.5), 0.02) << "the filter has not come back from the overflow";
}

}  // namespace
