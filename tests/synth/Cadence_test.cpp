#include "synth/Cadence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

namespace {

/// The level of one frequency in a stretch of the signal.
double levelAt(const std::vector<float>& signal, std::size_t first, std::size_t count, double frequency,
               unsigned rate)
{
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < count; ++i)
        sum += static_cast<double>(signal[first + i]) *
               std::polar(1.0, -2.0 * 3.14159265358979 * frequency * static_cast<double>(i) / rate);
    return 2.0 * std::abs(sum) / static_cast<double>(count);
}

TEST(Cadence, HasFourChordsOfTheAskedLength)
{
    EXPECT_EQ(synth::cadence({.secondsPerChord = 0.5, .sampleRate = 48000}).size(), 96000U);
}

TEST(Cadence, StaysBelowFullScale)
{
    for (const bool arpeggio : {false, true}) {
        const auto music = synth::cadence({.tonic = 8, .minor = true, .arpeggio = arpeggio});
        EXPECT_LT(*std::max_element(music.begin(), music.end()), 1.0f);
        EXPECT_GT(*std::max_element(music.begin(), music.end()), 0.1f);
    }
}

TEST(Cadence, BeginsAndEndsOnTheTonicTriad)
{
    // C: 130.81 Hz in the bass; C, E flat and G above it.
    const auto music = synth::cadence({.tonic = 3, .minor = true});
    for (const std::size_t chord : {0U, 3U}) {
        const std::size_t first = chord * 88200 + 4410;
        for (const double frequency : {130.81, 261.63, 311.13, 392.00})
            EXPECT_GT(levelAt(music, first, 44100, frequency, 44100), 0.02) << frequency;
        EXPECT_LT(levelAt(music, first, 44100, 329.63, 44100), 0.005) << "E natural";
    }
}

TEST(Cadence, CentsTuneTheInstrument)
{
    const double sharpA = 220.0 * std::pow(2.0, 20.0 / 1200.0);
    const auto music = synth::cadence({.cents = 20});
    EXPECT_GT(levelAt(music, 4410, 79380, sharpA, 44100), 0.02);
    EXPECT_LT(levelAt(music, 4410, 79380, 220.0, 44100), 0.01);
}

}  // namespace
