#pragma once

#include "cli/batch/BatchOptions.h"
#include "cli/batch/TrackList.h"

#include <QStringList>

#include <optional>

namespace tunesift::cli {

/// Every track that was named, by paths and by lists; nothing, after a complaint, if a list cannot be read.
/// @param paths  as textOfBytes has them
[[nodiscard]] std::optional<TrackList> gatherTracks(const QStringList& paths, const TrackOptions& options);

}  // namespace tunesift::cli
