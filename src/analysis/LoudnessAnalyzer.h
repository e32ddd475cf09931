#pragma once

#include "analysis/FirstOrderEnvelope.h"
#include "runtime/refcounted.h"

#include <algorithm>
#include <cstdint>

/// Finds the loudest moment of a track: the highest short-term RMS level, the power being averaged over
/// 100 ms. No weighting, no gate. Lives on the analysing thread.
class LoudnessAnalyzer : public ebo::refcounted {
public:
    /// The running average: a first-order envelope that rises as fast as it falls. It comes sample by sample,
    /// each waiting for the one before; a loop that has other work for each sample can carry a copy of it
    /// along and takes hardly longer for that.
    class Average {
    public:
        /// @param rate  samples per second
        explicit Average(float rate)
            : share_(eboEnvelopes::FirstOrderEnvelope::coefficient(rate, kMilliseconds)), rest_(1.0f - share_)
        {}

        /// Takes the next sample.
        void add(float sample)
        {
            power_ = share_ * (sample * sample) + rest_ * power_;
            highest_ = std::max(highest_, power_);
        }

        /// The highest average power so far.
        [[nodiscard]] float highest() const { return highest_; }

    private:
        static constexpr float kMilliseconds = 100.0f;

        float share_;  // of the new power in the average
        float rest_;   // of the old average
        float power_ = 0.0f;
        float highest_ = 0.0f;
    };

    /// @param sampleRate  Hz
    explicit LoudnessAnalyzer(double sampleRate);

    /// Takes the next mono samples of the track. The average runs on from block to block.
    void process(const float* samples, std::uint32_t count);

    /// For who feeds the samples along with work of his own; every sample comes once, one way or the other.
    [[nodiscard]] Average& average() { return average_; }

    /// The highest RMS level so far, linear, 1.0 being a full-scale square wave. At least 0.00001.
    [[nodiscard]] float peakLevel() const;

private:
    Average average_;
};
