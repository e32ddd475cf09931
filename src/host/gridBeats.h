#pragma once

#include "host/messages.h"

#include <QtGlobal>

#include <optional>

namespace tunesift::host {

/// Whether the grid can be reckoned with: valid, at least two anchors, and from each to the next a whole
/// number of beats forward in finite time.
[[nodiscard]] bool isUsable(const BeatGrid& grid);

/// Where a beat falls, in frames; beats outside the anchors continue the nearest segment. Nothing if the
/// grid is not usable or the beat lies beyond all numbers.
[[nodiscard]] std::optional<double> beatPosition(const BeatGrid& grid, qint64 beatNumber);

/// How many beats of the grid lie inside the track, at a position of 0 or above and below `frames`. Nothing
/// if the grid is not usable.
[[nodiscard]] std::optional<qint64> countBeatsInside(const BeatGrid& grid, double frames);

}  // namespace tunesift::host
