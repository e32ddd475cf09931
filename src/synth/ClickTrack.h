#pragma once

#include <vector>

namespace synth {

/// A metronome. One click is a burst of noise that dies away within a few milliseconds, so that it has an
/// onset in every octave.
struct ClickTrack {
    double bpm = 120;
    double seconds = 30;
    unsigned sampleRate = 44100;  ///< Hz.

    /// Where between two beats a second, softer click stands, as a share of the beat: 0 for none, 0.5 for
    /// straight eighths, 2.0 / 3 for a triplet swing.
    double swing = 0;

    /// How far the tempo has moved, at an even pace, by the end of the track.
    double driftBpm = 0;

    double offsetSeconds = 0;  ///< When the first click comes.
};

/// When the clicks on the beat come, in seconds from the start.
[[nodiscard]] std::vector<double> beatTimes(const ClickTrack& parameters);

/// The track, mono.
[[nodiscard]] std::vector<float> clickTrack(const ClickTrack& parameters);

}  // namespace synth
