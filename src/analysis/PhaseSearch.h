#pragma once

#include <cstdint>

struct ClusterSet;

/// Finds where in the bar the beats of a track fall, once its tempo is known.
class PhaseSearch {
public:
    /// @param all         the clusters of the whole track
    /// @param beatPeriod  samples per beat, above 0
    PhaseSearch(const ClusterSet& all, std::uint32_t beatPeriod);

    /// The place of a downbeat, in samples from the start of the track, from 0 to one bar.
    /// @param fold  `all` folded into one bar at the tempo, with at least two entries
    [[nodiscard]] float find(const ClusterSet& fold) const;

private:
    /// A phase and the strength of what supports it.
    struct Candidate {
        float phase;
        float support;
    };

    [[nodiscard]] float peakOf(const ClusterSet& fold) const;
    [[nodiscard]] Candidate weightedPhaseNear(float peak) const;
    [[nodiscard]] std::uint64_t firstStrongKey() const;
    [[nodiscard]] float choose(const Candidate& weighted) const;
    [[nodiscard]] float score(std::uint32_t modulus, float phase) const;
    [[nodiscard]] float pulledTowardsStart(float phase) const;

    const ClusterSet& all_;
    const std::uint32_t period_;  // samples per beat
    const float tolerance_;       // samples
};

/// Moves a phase onto the nearest multiple of the beat if that is close, and into the first bar. In samples.
/// @param beatPeriod  samples per beat; at 0 the result is 0
/// @param tolerance   how close is close
[[nodiscard]] float snappedToBeat(float phase, std::uint32_t beatPeriod, float tolerance);
