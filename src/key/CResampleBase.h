#pragma once

#include "key/CResample_If.h"
#include "key/OutputClock.h"
#include "key/sincTable.h"

#include <cstdint>
#include <vector>

/// Band-limited interpolation, whatever the samples' type: at every output a windowed sinc is laid over the
/// input. If the rate goes down, the sinc is stretched, so that its cut-off follows the output rate.
///
/// Output k of a stream lies at input time k * inputRate / outputRate, exactly. Zeros stand before the
/// stream. An output is made as soon as the input reaches to the end of the right wing.
class CResampleBase : public CResample_If {
public:
    [[nodiscard]] int maxOutput() const final { return maxOutput_; }

    /// Input frames on either side of an output that have a weight in it: those up to the output's own
    /// moment are the left wing, those after it the right.
    [[nodiscard]] int wing() const { return wing_; }

protected:
    static constexpr int kBestQuality = 120;

    /// Bounds memory, and keeps all sums of frames and table positions far from overflow. 4096 frames are
    /// the wing of 6.7 MHz at quality 5 and 8192 Hz out.
    static constexpr int kLongestWing = 4096;

    /// The same for a block that goes in and one that comes out, in frames.
    static constexpr int kLongestBlock = 1 << 20;

    /// Whether the constructor may be called with these.
    [[nodiscard]] static bool isPossible(int inputRate, int outputRate, int quality, int maxBlock);

    CResampleBase(int inputRate, int outputRate, int quality, int maxBlock);

    /// Writes the weights of the inputs for an output at a phase of the clock's: at weights[n * stride]
    /// that of the n-th input of the left wing, counted from the output backwards, at
    /// weights[n * stride + rightWing] that of the n-th of the right wing, counted forwards.
    void writeWeights(std::int64_t phase, float* weights, int stride, int rightWing) const;

    /// What an output's weighted sum is multiplied by.
    [[nodiscard]] float gain() const { return gain_; }

    [[nodiscard]] OutputClock& clock() { return clock_; }
    [[nodiscard]] const OutputClock& clock() const { return clock_; }

    void restartClock();

private:
    /// Writes one wing's weights: those at `position` of the table and every step on, zeros from `end` on.
    void writeWing(int position, int end, float* weights, int stride) const;

    const int inputRate_;
    const int outputRate_;
    const int step_;
    const int wing_;
    const int maxOutput_;
    const float gain_;
    const std::vector<eboDsp::SincEntry> table_;
    OutputClock clock_;
};
