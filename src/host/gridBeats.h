#pragma once

#include "host/messages.h"

#include <QtGlobal>

#include <optional>
#include <vector>

namespace tunesift::host {

/// Whether the grid can be reckoned with: valid, at least two anchors, and from each to the next a whole
/// number of beats forward in finite time.
[[nodiscard]] bool isUsable(const BeatGrid& grid);

/// Where a beat falls, in frames; beats outside the anchors continue the nearest segment. Nothing if the
/// grid is not usable or the beat lies beyond all numbers.
[[nodiscard]] std::optional<double> beatPosition(const BeatGrid& grid, qint64 beatNumber);

struct Beat {
    qint64 number = 0;      ///< Every fourth, beginning with 0, is the first of a bar.
    double position = 0.0;  ///< Frames.
};

/// The beats from one position, in frames, up to another, from the first anchor to the last; the first
/// million of them. None if the grid is not usable.
[[nodiscard]] std::vector<Beat> beatsBetween(const BeatGrid& grid, double from, double to);

/// How many beats of the grid lie inside the track, at a position of 0 or above and below `frames`. Nothing
/// if the grid is not usable.
[[nodiscard]] std::optional<qint64> countBeatsInside(const BeatGrid& grid, double frames);

}  // namespace tunesift::host
