#pragma once

#include <cstdint>
#include <numeric>

/// Where the outputs of a resampler lie on the time axis of its input: output k at k * inputRate /
/// outputRate. Whole numbers keep it exact over any length of stream.
class OutputClock {
public:
    /// @param inputRate   Hz, positive, as is @param outputRate
    OutputClock(int inputRate, int outputRate)
        : inputRate_(inputRate / std::gcd(inputRate, outputRate)),
          outputRate_(outputRate / std::gcd(inputRate, outputRate))
    {}

    /// The input frame at or before the next output, counted from the start of the stream, or from wherever
    /// rebase() has moved the count to.
    [[nodiscard]] std::int64_t frame() const { return frame_; }

    /// How far the next output lies behind frame(), in parts of which a frame has phases().
    [[nodiscard]] std::int64_t phase() const { return phase_; }

    /// After this many outputs the phases repeat. It is the output rate, shortened by the input's.
    [[nodiscard]] std::int64_t phases() const { return outputRate_; }

    /// How many outputs from here on lie before the input frame `end`; `end` - frame() is below 2^31.
    [[nodiscard]] std::int64_t outputsBefore(std::int64_t end) const
    {
        if (frame_ >= end)
            return 0;
        return ((end - frame_) * outputRate_ - phase_ + inputRate_ - 1) / inputRate_;
    }

    /// Goes on by `outputs`, below 2^31.
    void advance(std::int64_t outputs)
    {
        const std::int64_t parts = phase_ + outputs * inputRate_;
        frame_ += parts / outputRate_;
        phase_ = parts % outputRate_;
    }

    /// Counts input frames from a point that is `frames` later.
    void rebase(std::int64_t frames) { frame_ -= frames; }

private:
    std::int64_t inputRate_;  // both rates without their common factor
    std::int64_t outputRate_;
    std::int64_t frame_ = 0;
    std::int64_t phase_ = 0;
};
