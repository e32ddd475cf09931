#pragma once

#include "analysis/ITransientDetection.h"
#include "analysis/StatusCallbackDummy.h"
#include "analysis/TempoRange.h"

#include <cstdint>
#include <memory>

class BarFold;

/// Computes the tempo of a track and the place of a downbeat from the onsets that its transient detection has
/// collected. The search narrows down: a histogram of onset distances, a mean around its peak, two scans that
/// fold the track into one bar at 50 tempi each, then the phase inside the bar. Single precision throughout.
/// Lives on the analysing thread.
class BeatDetection {
public:
    /// @param sampleRate    Hz
    /// @param minimumTempo  BPM, at least 3; results lie from this, included, to twice this, excluded
    BeatDetection(float sampleRate, std::int32_t minimumTempo);

    /// The same with a transient detection of the caller's.
    BeatDetection(float sampleRate, std::int32_t minimumTempo,
                  std::unique_ptr<ITransientDetection> transientDetection);

    virtual ~BeatDetection() = default;
    BeatDetection(const BeatDetection&) = delete;
    BeatDetection& operator=(const BeatDetection&) = delete;

    /// To be fed with the track before analyze.
    [[nodiscard]] ITransientDetection& transientDetection() { return *transientDetection_; }

    /// Searches tempo and phase in what has been fed.
    /// @param bpm     the tempo; the middle of the range if there are fewer than two onsets
    /// @param offset  place of a downbeat in samples, from 0 to one bar. Set to 0 by the caller; it stays so
    /// if
    ///                nothing is known, or if the status asks to stop.
    /// @param status  asked once, between tempo and phase, and told the share of the work that follows
    ///                reading; null for none
    void analyze(float* bpm, float* offset, StatusCallbackInterface* status);

private:
    [[nodiscard]] float findTempo(const TransientMap& onsets, BarFold& barFold) const;
    [[nodiscard]] float findOffset(float bpm, BarFold& barFold) const;

    const float sampleRate_;  // Hz
    const TempoRange range_;
    const std::unique_ptr<ITransientDetection> transientDetection_;
    const float snapTolerance_;  // samples
    StatusCallbackDummy dummyStatus_;
};

/// A tempo that differs from a whole number by less than 0.02 BPM is taken to be that number.
[[nodiscard]] float roundedTempo(float bpm);
