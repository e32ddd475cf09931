#pragma once

#include "key/vectorWidth.h"

#include <array>
#include <cstdint>

namespace eboDsp {

/// 72 resonators side by side that all hear the same signal, each followed by the measurement of its
/// strength: the same bits as 72 of CResonantFilter and of CAverage, in a twentieth to a sixtieth of their
/// time. One thread; nothing allocates.
///
/// A recursion waits for its own last result most of the time. So the filters run in the lanes of vectors,
/// several vectors at once, each sample through filter and measurement before the next; everything that
/// changes from sample to sample stays in registers.
///
/// In digital silence the resonators fade into numbers too small for full precision, which are slow to
/// compute with. The caller's signal never is that silent: its high-pass filter keeps a trace of an offset.
class ResonatorBank {
public:
    static constexpr int kFilters = 72;

    /// @param sampleRate           Hz
    /// @param envelopeCoefficient  as CAverage::setEnvelopeCoefficient
    /// @param width                at most what the processor has
    ResonatorBank(int sampleRate, float envelopeCoefficient, VectorWidth width = widestVectors());

    /// Gives all resonators other frequencies, in Hz, and radii, as CResonantFilter::coefficients. What rings
    /// in them rings on. The bank lets nothing through before the first design.
    void design(const float* frequencies, const float* radii);

    /// Filters and measures the next samples. @param count 0 changes nothing
    void process(const float* samples, int count);

    /// The 72 envelopes after the last sample.
    [[nodiscard]] const float* levels() const { return lanes_.envelope.data(); }

    /// As CAverage::mean and CAverage::slowMean.
    [[nodiscard]] float mean(int filter) const { return means_[static_cast<std::size_t>(filter)]; }
    [[nodiscard]] float slowMean(int filter) const { return slowMeans_[static_cast<std::size_t>(filter)]; }

    /// Samples so far.
    [[nodiscard]] std::int64_t count() const { return count_; }

private:
    // Whole vectors at every width; the lanes behind the last filter have a gain of 0.
    static constexpr std::size_t kLanes = 80;
    using LaneArray = std::array<float, kLanes>;

    struct Lanes {
        alignas(64) LaneArray gain{};
        alignas(64) LaneArray a1{};
        alignas(64) LaneArray a2{};
        alignas(64) LaneArray y1{};
        alignas(64) LaneArray y2{};
        alignas(64) LaneArray envelope{};
        alignas(64) LaneArray sum{};  // of the absolute values, over one call
    };

    struct Kernels;
    using Kernel = void (*)(Lanes& lanes, float envelopeCoefficient, const float* samples, int count);

    Lanes lanes_;
    alignas(64) LaneArray means_{};
    alignas(64) LaneArray slowMeans_{};
    std::int64_t count_ = 0;
    float sampleRate_;
    float envelopeCoefficient_;
    Kernel kernel_;
};

}  // namespace eboDsp
