#pragma once

#include "cli/TrackOutcome.h"

#include <QString>

#include <optional>

namespace tunesift::cli {

/// What can be seen from outside to be wrong with a track: that it is not there, a directory, a device or
/// pipe, not readable or empty. A worker says no more than that it failed; and a pipe would hold it up.
/// Nothing if the path looks well, or lies on another device.
[[nodiscard]] std::optional<Failure> pathProblem(const QString& path);

}  // namespace tunesift::cli
