#pragma once

#include "cli/rows/TrackOutcome.h"

#include <QByteArray>

namespace tunesift::cli {

/// The names of the columns.
[[nodiscard]] QByteArray csvHeader();

/// The most wanted facts of a track as one record, after RFC 4180; empty fields for what does not exist.
[[nodiscard]] QByteArray csvReport(const TrackOutcome& outcome);

}  // namespace tunesift::cli
