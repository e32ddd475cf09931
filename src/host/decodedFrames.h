#pragma once

#include <QtGlobal>

#include <optional>

namespace tunesift::host {

/// The frames that a worker reads at a time.
inline constexpr qint64 kBlockFrames = 16384;

/// How far a worker came that ended with this progress, as a count of frames: at most one block too many.
/// Nothing if the progress does not tell.
/// @param share   of the last progress message, 0 to 1
/// @param frames  announced length of the track
[[nodiscard]] std::optional<qint64> decodedFrames(double share, qint64 frames);

}  // namespace tunesift::host
