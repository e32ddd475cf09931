#pragma once

#include "cli/picture/TrackWaves.h"
#include "host/AnalysisRequest.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace tunesift::cli {

/// A track as it is named on a command line: by its path, or by a row that was printed for it.
struct TrackArgument {
    QByteArray path;
    host::Preferences preferences;  ///< Those of the row, the default ones for a path.

    /// Nothing if the text begins like a row and is none.
    [[nodiscard]] static std::optional<TrackArgument> parse(const QString& text);
};

/// Writes a file in place of what was there, all of it or nothing; complains if that fails.
[[nodiscard]] bool writeFile(const QString& path, const QByteArray& bytes);

/// Analyses the one track that a verb was given; nothing, after a complaint, if there are no results.
[[nodiscard]] std::optional<TrackWaves> wavesFor(const TrackArgument& track, const QString& worker);

}  // namespace tunesift::cli
