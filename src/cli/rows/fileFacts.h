#pragma once

#include "cli/rows/TrackOutcome.h"

#include <QByteArray>

#include <optional>

namespace tunesift::cli {

/// What can be seen of a track from outside.
struct FileFacts {
    /// That it is not there, a directory, a device or pipe, not readable or empty. A worker says no more than
    /// that it failed; and a pipe would hold it up.
    std::optional<Failure> problem;
    std::optional<FileStamp> stamp;
};

/// Looks at a track. Nothing is known of one on another device.
[[nodiscard]] FileFacts fileFacts(const QByteArray& path);

}  // namespace tunesift::cli
