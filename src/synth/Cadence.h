#pragma once

#include <vector>

namespace synth {

/// The four chords that make a key plain: I IV V I in major, i iv V i in minor, in triads over a bass, on a
/// plucked instrument with six partials.
struct Cadence {
    int tonic = 0;  ///< Semitones above A.
    bool minor = false;
    bool arpeggio = false;  ///< Chords broken into single notes over a held bass.
    double cents = 0;       ///< How far the instrument is tuned above A = 440 Hz; may be below 0.
    double secondsPerChord = 2;
    unsigned sampleRate = 44100;  ///< Hz.
};

/// Mono, peak below 1.
[[nodiscard]] std::vector<float> cadence(const Cadence& parameters);

}  // namespace synth
