#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

/// Loops over arrays of floats, written so that the compiler puts them into lanes. Each gives the same bits
/// at every optimisation level.
namespace eboDsp {

/// a[i] *= b[i]
inline void multiply(float* a, const float* b, int count)
{
    for (int i = 0; i < count; ++i)
        a[i] *= b[i];
}

/// a[i] *= factor
inline void multiply(float* a, float factor, int count)
{
    for (int i = 0; i < count; ++i)
        a[i] *= factor;
}

/// A value of an array and where it stands.
struct Maximum {
    float value;
    int index;
};

/// The largest value and its lowest index. NaN counts as less than all else; without anything above it the
/// answer is minus infinity at 0.
inline Maximum maximum(const float* values, int count)
{
    constexpr int kLanes = 8;
    std::array<float, kLanes> best{};
    best.fill(-std::numeric_limits<float>::infinity());
    int i = 0;
    for (; i + kLanes <= count; i += kLanes)
        for (int lane = 0; lane < kLanes; ++lane) {
            float& most = best[static_cast<std::size_t>(lane)];
            most = values[i + lane] > most ? values[i + lane] : most;
        }
    float most = -std::numeric_limits<float>::infinity();
    for (const float value : best)
        most = value > most ? value : most;
    for (; i < count; ++i)
        most = values[i] > most ? values[i] : most;

    for (int index = 0; index < count; ++index)
        if (values[index] == most)
            return {most, index};
    return {most, 0};
}

/// x = ln(x), with `replacement` taken for every x below `limit` first.
inline void floorAndLog(float* x, float limit, float replacement, int count)
{
    for (int i = 0; i < count; ++i)
        x[i] = std::log(x[i] < limit ? replacement : x[i]);
}

/// The sum of a[i] * b[i]: eight partial sums, of the i with the same remainder by 8, each in ascending
/// order; then halves are added to halves (0 to 4, 1 to 5 ...; 0 to 2, 1 to 3; 0 to 1).
inline float dotProduct(const float* a, const float* b, int count)
{
    constexpr int kLanes = 8;
    std::array<float, kLanes> sums{};
    int i = 0;
    for (; i + kLanes <= count; i += kLanes)
        for (int lane = 0; lane < kLanes; ++lane)
            sums[static_cast<std::size_t>(lane)] += a[i + lane] * b[i + lane];
    for (; i < count; ++i)
        sums[static_cast<std::size_t>(i % kLanes)] += a[i] * b[i];
    for (std::size_t half = kLanes / 2; half > 0; half /= 2)
        for (std::size_t lane = 0; lane < half; ++lane)
            sums[lane] += sums[lane + half];
    return sums[0];
}

/// The magnitudes of the bins 0 to count - 1 of a spectrum as CRealFFT_If lays it out; half the sample rate's
/// is not among them. @param magnitudes may be the spectrum's buffer
inline void magnitudes(const float* spectrum, float* magnitudes, int count)
{
    if (count <= 0)
        return;
    const float first = std::fabs(spectrum[0]);
    for (int k = 1; k < count; ++k) {
        const float re = spectrum[2 * k];
        const float im = spectrum[2 * k + 1];
        magnitudes[k] = std::sqrt(re * re + im * im);
    }
    magnitudes[0] = first;
}

}  // namespace eboDsp
