#include "synth/HouseLoop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

namespace {

/// The amplitude of one frequency in a signal, by the definition of the Fourier sum.
double amplitudeAt(const std::vector<float>& signal, double frequency, double sampleRate)
{
    std::complex<double> sum;
    for (std::size_t i = 0; i < signal.size(); ++i)
        sum += static_cast<double>(signal[i]) *
               std::polar(1.0, -2 * 3.14159265358979 * frequency * static_cast<double>(i) / sampleRate);
    return 2 * std::abs(sum) / static_cast<double>(signal.size());
}

TEST(HouseLoop, TheSameSeedGivesTheSameMusic)
{
    EXPECT_EQ(synth::houseLoop({.seconds = 2}), synth::houseLoop({.seconds = 2}));
    EXPECT_NE(synth::houseLoop({.seconds = 2}), synth::houseLoop({.seconds = 2, .seed = 9}));
}

TEST(HouseLoop, NothingClips)
{
    for (const float sample : synth::houseLoop({.seconds = 10}))
        ASSERT_LT(std::abs(sample), 1.0f);
}

TEST(HouseLoop, TheFirstChordIsTheTonicTriadOfTheKey)
{
    // A bar at 120 BPM lasts two seconds. A minor has A, C and E; A major has C sharp instead of C.
    const auto minor = synth::houseLoop({.seconds = 2, .bpm = 120});
    const auto major =
        synth::houseLoop({.seconds = 2, .bpm = 120, .key = {.tonic = 9, .mode = synth::Mode::kMajor}});
    const double c5 = 523.2511;
    const double cSharp5 = 554.3653;
    EXPECT_GT(amplitudeAt(minor, 440, 44100), 0.03);
    EXPECT_GT(amplitudeAt(minor, c5, 44100), 0.03);
    EXPECT_LT(amplitudeAt(minor, cSharp5, 44100), 0.01);
    EXPECT_GT(amplitudeAt(major, cSharp5, 44100), 0.03);
    EXPECT_LT(amplitudeAt(major, c5, 44100), 0.01);
}

TEST(HouseLoop, TheMeanOfTheStereoChannelsIsTheMonoMix)
{
    const auto mono = synth::houseLoop({.seconds = 3});
    const auto stereo = synth::houseLoopStereo({.seconds = 3});
    ASSERT_EQ(stereo.size(), 2 * mono.size());
    for (std::size_t i = 0; i < mono.size(); ++i)
        ASSERT_NEAR((stereo[2 * i] + stereo[2 * i + 1]) / 2, mono[i], 1e-6) << "frame " << i;
}

}  // namespace
