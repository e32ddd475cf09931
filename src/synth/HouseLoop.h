#pragma once

#include <cstdint>
#include <vector>

namespace synth {

enum class Mode { kMajor, kMinor };

struct Key {
    int tonic = 9;  ///< Semitones above C: 9 is A.
    Mode mode = Mode::kMinor;
};

/// Machine-made dance music with a known tempo and key: a kick on every beat, a hat between the beats, a clap
/// on the second and fourth, a bass line and chords that change with every bar (I, VI, IV, V of the key's
/// scale). The first downbeat is at frame 0.
struct HouseLoop {
    double seconds = 30;
    double bpm = 124;
    Key key{};
    unsigned sampleRate = 44100;  ///< Hz.
    std::uint32_t seed = 1;       ///< Of the noise in hats and claps.
};

/// The loop, mono, peaks below 1.0. The same seed gives the same music on every machine.
[[nodiscard]] std::vector<float> houseLoop(const HouseLoop& parameters);

/// The loop in stereo, interleaved: drums and bass in the middle, chords to the left, hats to the right.
/// The mean of the two channels is houseLoop up to rounding.
[[nodiscard]] std::vector<float> houseLoopStereo(const HouseLoop& parameters);

}  // namespace synth
