#pragma once

#include "cli/rows/TrackOutcome.h"

#include <QString>

namespace tunesift::cli {

/// The heads of the columns.
[[nodiscard]] QString tableHeader();

/// A track as one line of a table for people; "-" for what does not exist.
[[nodiscard]] QString tableReport(const TrackOutcome& outcome);

}  // namespace tunesift::cli
