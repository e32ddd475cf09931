#pragma once

#include "key/ResonatorBank.h"

#include <array>

namespace eboKey {

/// Follows the tuning of music: listens whether it sits sharp or flat of the tuning frequency, and moves that
/// slowly. One thread; nothing allocates.
///
/// Each of 24 semitones from the A below the tuning frequency has three resonators: one on the note, one a
/// little below, one a little above. While the upper ones ring louder than the lower ones the tuning
/// frequency rises, by steps that grow with each hop that the music stays on that side and halve when it
/// changes sides.
class TuningTracker {
public:
    /// @param sampleRate       Hz
    /// @param tuningFrequency  where to begin, Hz
    TuningTracker(int sampleRate, float tuningFrequency);

    /// Listens to the next samples, hop by hop. What is left behind the last whole hop is not heard.
    void process(const float* block, int count);

    /// Hz. There is no limit to it but that of sensible numbers; see kHighestTuning.
    [[nodiscard]] float tuningFrequency() const { return tuningFrequency_; }

    /// Samples from one decision to the next.
    [[nodiscard]] int hopSize() const { return hopSize_; }

    /// The hop size at a sample rate in Hz: two hundredths of a second in round numbers, a power of two.
    [[nodiscard]] static int hopSize(int sampleRate);

private:
    static constexpr int kGroups = eboDsp::ResonatorBank::kFilters / 3;
    using FilterArray = std::array<float, eboDsp::ResonatorBank::kFilters>;

    // Where a resonator's phase from sample to sample, as a float, begins to lose its meaning. Music would
    // have to pull upwards for half an hour on end.
    static constexpr float kHighestTuning = 1e9f;  // Hz

    void designFilters();
    void step(int samples);

    const int hopSize_;      // samples
    float tuningFrequency_;  // Hz
    float adaptionRate_;     // how far a thousand samples move the tuning, as a share of it
    float lastDirection_ = 0.0f;
    FilterArray radii_;
    std::array<float, kGroups> offsets_;  // from a note to its lower neighbour, Hz
    eboDsp::ResonatorBank bank_;
};

}  // namespace eboKey
