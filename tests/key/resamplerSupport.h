#pragma once

#include "key/CResample_If.h"
#include "key/vectorWidth.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numbers>
#include <vector>

namespace testsupport {

/// Every width of vectors that this processor has.
inline std::vector<eboDsp::VectorWidth> availableWidths()
{
    std::vector<eboDsp::VectorWidth> widths;
    for (const auto width : {eboDsp::VectorWidth::k4, eboDsp::VectorWidth::k8, eboDsp::VectorWidth::k16})
        if (width <= eboDsp::widestVectors())
            widths.push_back(width);
    return widths;
}

/// Feeds the whole input, in blocks as long as `nextBlock` says.
inline std::vector<float> resampled(CResample_If& resampler, const std::vector<float>& input,
                                    const std::function<int()>& nextBlock)
{
    std::vector<float> output;
    std::vector<float> block(static_cast<std::size_t>(resampler.maxOutput()));
    for (std::size_t at = 0; at < input.size();) {
        const int frames = std::min(nextBlock(), static_cast<int>(input.size() - at));
        const int count = resampler.process(&input[at], frames, block.data());
        output.insert(output.end(), block.begin(), block.begin() + count);
        at += static_cast<std::size_t>(frames);
    }
    return output;
}

inline std::vector<float> resampled(CResample_If& resampler, const std::vector<float>& input)
{
    return resampled(resampler, input, [] { return 16384; });
}

inline std::vector<float> sineAt(double frequency, int rate, int frames)
{
    std::vector<float> samples(static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i)
        samples[static_cast<std::size_t>(i)] =
            static_cast<float>(std::sin(2.0 * std::numbers::pi * frequency * i / rate));
    return samples;
}

/// Amplitude and phase of a sine in samples, all of them under a Hann window.
inline std::complex<double> sineIn(const std::vector<float>& samples, double frequency, int rate,
                                   std::size_t first)
{
    const double turn = 2.0 * std::numbers::pi;
    const auto count = static_cast<double>(samples.size() - first);
    std::complex<double> sum;
    double weights = 0.0;
    for (std::size_t i = first; i < samples.size(); ++i) {
        const double weight = 1.0 - std::cos(turn * (static_cast<double>(i - first) + 0.5) / count);
        sum += weight * static_cast<double>(samples[i]) *
               std::polar(1.0, -turn * frequency * static_cast<double>(i) / rate);
        weights += weight;
    }
    return sum / weights * std::complex<double>(0.0, 2.0);
}

/// The method, step by step and without haste: one output at a time, in single precision.
class PlainResampler {
public:
    PlainResampler(int inputRate, int outputRate, int quality)
        : inputRate_(inputRate), outputRate_(outputRate), length_(quality * 256)
    {
        const double rolloff = quality * 0.025 * 0.03125 + 0.9;
        std::vector<double> exact(static_cast<std::size_t>(length_));
        for (std::size_t i = 0; i < exact.size(); ++i)
            exact[i] = windowedSinc(static_cast<double>(i) / 256.0, quality, rolloff);
        for (std::size_t i = 0; i < exact.size(); ++i) {
            table_.push_back(static_cast<float>(exact[i]));
            difference_.push_back(i + 1 < exact.size() ? static_cast<float>(exact[i + 1] - exact[i]) : 0.0f);
        }
        const double ratio = static_cast<double>(outputRate) / inputRate;
        gain_ = static_cast<float>(ratio >= 1.0 ? 0.99 : ratio * 0.99);
        step_ = ratio * 256 > 256 ? 32768 : static_cast<int>(std::floor(ratio * 256 * 128 + 0.5));
    }

    /// The windowed sinc that the table samples. @param x  in zero crossings, below `quality`
    static double windowedSinc(double x, int quality, double rolloff)
    {
        const double reach = x * 256.0 / (quality * 256 - 1);
        if (reach > 1.0)
            return 0.0;
        const double sinc =
            x == 0.0 ? rolloff : std::sin(x * std::numbers::pi * rolloff) / (x * std::numbers::pi);
        return sinc * std::cyl_bessel_i(0.0, 9.0 * std::sqrt(1.0 - reach * reach)) /
               std::cyl_bessel_i(0.0, 9.0);
    }

    /// Inputs after its base that must be there before an output is made.
    [[nodiscard]] int wing() const { return (length_ * 128 + step_ - 1) / step_; }

    /// How many outputs a stream of so many frames has.
    [[nodiscard]] std::int64_t count(std::int64_t frames) const
    {
        std::int64_t k = 0;
        while (k * inputRate_ / outputRate_ + wing() < frames)
            ++k;
        return k;
    }

    [[nodiscard]] float output(const std::vector<float>& input, std::int64_t k) const
    {
        const std::int64_t whole = k * inputRate_ / outputRate_;
        const std::int64_t rest = k * inputRate_ % outputRate_;
        const std::int64_t p = whole * 32768 + rest * 32768 / outputRate_;
        const std::int64_t base = p >> 15;

        float left = 0.0f;
        std::int64_t x = base;
        for (std::int64_t i = ((p & 32767) * step_) >> 15; i < length_ * 128; i += step_)
            left += weight(i) * at(input, x--);

        float right = 0.0f;
        x = base + 1;
        std::int64_t i = ((-p & 32767) * step_) >> 15;
        if ((-p & 32767) == 0)
            i += step_;
        for (; i < (length_ - 1) * 128; i += step_)
            right += weight(i) * at(input, x++);
        return (left + right) * gain_;
    }

    [[nodiscard]] std::vector<float> all(const std::vector<float>& input) const
    {
        std::vector<float> outputs;
        const std::int64_t n = count(static_cast<std::int64_t>(input.size()));
        for (std::int64_t k = 0; k < n; ++k)
            outputs.push_back(output(input, k));
        return outputs;
    }

private:
    [[nodiscard]] float weight(std::int64_t i) const
    {
        const auto entry = static_cast<std::size_t>(i >> 7);
        return table_[entry] + static_cast<float>(i & 127) * 0.0078125f * difference_[entry];
    }

    static float at(const std::vector<float>& input, std::int64_t index)
    {
        return index < 0 ? 0.0f : input.at(static_cast<std::size_t>(index));
    }

    const std::int64_t inputRate_;
    const std::int64_t outputRate_;
    const int length_;
    int step_ = 0;
    float gain_ = 0.0f;
    std::vector<float> table_;
    std::vector<float> difference_;
};

}  // namespace testsupport
