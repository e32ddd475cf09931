#pragma once

#include "analysis/FirstOrderEnvelope.h"
#include "runtime/refcounted.h"

#include <cstdint>

/// Finds the loudest moment of a track: the highest short-term RMS level, the power being averaged over
/// 100 ms. No weighting, no gate. Lives on the analysing thread.
class LoudnessAnalyzer : public ebo::refcounted {
public:
    /// @param sampleRate  Hz
    explicit LoudnessAnalyzer(double sampleRate);

    /// Takes the next mono samples of the track. The average runs on from block to block.
    void process(const float* samples, std::uint32_t count);

    /// The highest RMS level so far, linear, 1.0 being a full-scale square wave. At least 0.00001.
    [[nodiscard]] float peakLevel() const { return peakLevel_; }

private:
    eboEnvelopes::FirstOrderEnvelope envelope_;
    float peakLevel_ = 0.00001f;
};
