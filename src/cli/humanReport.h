#pragma once

#include "host/TrackResult.h"

#include <QString>

namespace tunesift::cli {

/// A track's results for people: its path, then one line for each fact, "-" for what does not exist.
[[nodiscard]] QString humanReport(const host::TrackResult& result);

}  // namespace tunesift::cli
