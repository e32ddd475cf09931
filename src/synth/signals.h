#pragma once

#include <cstdint>
#include <vector>

namespace synth {

/// Test signals, mono, full scale being 1.0. They need neither Qt nor a file and are the same on every run.

struct Sine {
    double frequency = 440;  ///< Hz.
    double seconds = 1;
    unsigned sampleRate = 44100;  ///< Hz.
    double amplitude = 1;         ///< Peak value.
};

[[nodiscard]] std::vector<float> sine(const Sine& parameters);

[[nodiscard]] std::vector<float> silence(double seconds, unsigned sampleRate = 44100);

struct WhiteNoise {
    double seconds = 1;
    unsigned sampleRate = 44100;  ///< Hz.
    double amplitude = 1;         ///< Peak value.
    std::uint32_t seed = 1;
};

[[nodiscard]] std::vector<float> noise(const WhiteNoise& parameters);

/// How many frames a duration has, rounded to the nearest.
[[nodiscard]] std::size_t frameCount(double seconds, unsigned sampleRate);

/// The same signal in both channels, interleaved.
[[nodiscard]] std::vector<float> stereoFromMono(const std::vector<float>& mono);

}  // namespace synth
