#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

/// Sounds at the sample rate of the key analysis.
namespace testsupport {

inline constexpr int kKeyRate = 8192;   // Hz
inline constexpr int kKeyBlock = 4096;  // samples

/// Hz. @param semitones  above the A of 220 Hz, fractions for mistuning
inline double noteFrequency(double semitones) { return 220 * std::exp2(semitones / 12); }

inline std::vector<float> keyTone(double frequency, double seconds, double amplitude = 0.5)
{
    std::vector<float> tone(static_cast<std::size_t>(seconds * kKeyRate));
    for (std::size_t i = 0; i < tone.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / kKeyRate;
        tone[i] = static_cast<float>(amplitude * std::sin(phase));
    }
    return tone;
}

inline void add(std::vector<float>& sum, const std::vector<float>& other)
{
    for (std::size_t i = 0; i < sum.size() && i < other.size(); ++i)
        sum[i] += other[i];
}

}  // namespace testsupport
