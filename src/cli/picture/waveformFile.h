#pragma once

#include "cli/picture/TrackWaves.h"

#include <QByteArray>

namespace tunesift::cli {

/// The high-resolution wave as JSON that players of waveforms read: version 2, one channel, a minimum and a
/// maximum of 8 bits for each entry. The wave has no sign, so the one is the negative of the other; of the
/// three bands the highest counts.
[[nodiscard]] QByteArray waveformJson(const TrackWaves& waves);

/// The same in bytes: a header of six little-endian numbers of 32 bits (version, flags with 1 for 8 bits,
/// frames per second, frames per pair, pairs, channels), then the pairs.
[[nodiscard]] QByteArray waveformData(const TrackWaves& waves);

}  // namespace tunesift::cli
