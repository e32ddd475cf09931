#pragma once

#include "analysis/plain/PlainTransientDetection.h"

#include <cstdint>

namespace plain {

/// The tempo and phase search written down as plainly as possible, on ordered maps and with every beat of the
/// track visited: what BeatDetection has to equal in every bit, for sensible tempo ranges.
struct BeatResult {
    float bpm = 0.0f;
    float offset = 0.0f;  ///< Samples.
};

[[nodiscard]] BeatResult searchBeats(const Onsets& onsets, float sampleRate, std::int32_t minimumTempo);

}  // namespace plain
