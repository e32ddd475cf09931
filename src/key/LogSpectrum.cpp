#include "key/LogSpectrum.h"

#include "key/naturalLogarithm.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace eboKey {

namespace {

constexpr float kTop = 15.0f;
constexpr float kFloor = 1.0f;
constexpr float kSilence = 1e-37f;

/// The larger of two numbers of which neither is negative: they order as their bits do. Integers, as the
/// comparison of floats, which might trap, keeps the compiler from using lanes.
float larger(float a, float b)
{
    return std::bit_cast<float>(std::max(std::bit_cast<std::int32_t>(a), std::bit_cast<std::int32_t>(b)));
}

}  // namespace

LogSpectrum::LogSpectrum(std::unique_ptr<CRealFFT_If> fft)
    : fft_(std::move(fft)), spectrum_(static_cast<std::size_t>(fft_->length())), values_(spectrum_.size() / 2)
{}

/// Puts the squared magnitudes into `values_`. @return the root of the largest
float LogSpectrum::strongest()
{
    const float* const spectrum = spectrum_.data();
    float* const squares = values_.data();
    const int count = bins();
    squares[0] = spectrum[0] * spectrum[0];
    float most = squares[0];
    for (int k = 1; k < count; ++k) {
        const float re = spectrum[2 * k];
        const float im = spectrum[2 * k + 1];
        squares[k] = re * re + im * im;
        most = larger(most, squares[k]);
    }
    return std::sqrt(most);
}

float* LogSpectrum::compute(const float* block, NoteBins::Range range)
{
    fft_->forward(spectrum_.data(), block);
    const float top = strongest();
    const float scale = top <= kSilence ? 0.0f : kTop / top;
    float* const values = values_.data();
    for (int k = range.first; k < range.end; ++k)
        values[k] = eboDsp::naturalLogarithm(larger(std::sqrt(values[k]) * scale, kFloor));
    return values;
}

}  // namespace eboKey
