#pragma once

#include "cli/TrackOutcome.h"

#include <QString>

namespace tunesift::cli {

/// A track's results or failure as one JSON object on one line; null for what does not exist. Numbers keep
/// every digit.
[[nodiscard]] QString jsonReport(const TrackOutcome& outcome);

}  // namespace tunesift::cli
