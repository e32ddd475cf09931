#pragma once

#include "cli/rows/TrackOutcome.h"

#include <QByteArray>

namespace tunesift::cli {

/// The version of the rows: grows when a member changes its meaning or goes.
inline constexpr int kRowSchema = 1;

/// What every row begins with.
inline constexpr const char* kRowStart = "{\"schema\":";

/// A track's results or failure as one JSON object on one line; null for what does not exist. Numbers keep
/// every digit.
[[nodiscard]] QByteArray jsonReport(const TrackOutcome& outcome);

}  // namespace tunesift::cli
