#pragma once

#include "cli/rows/TrackOutcome.h"
#include "host/AnalysisRequest.h"
#include "host/messages.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

namespace tunesift::cli {

/// Everything that an analysis says of a track, its pictures and its beats among it.
struct TrackWaves {
    host::TrackResult result;
    std::optional<host::BeatGrid> grid;
    std::vector<host::OverviewWave::Entry> overview;
    double framesPerOverviewEntry = 0.0;
    std::vector<host::HighResolutionWave::Entry> highResolution;
    double framesPerEntry = 0.0;  ///< Of the high-resolution wave.
};

/// Analyses a track and gathers what comes. With an event loop of its own, on the main thread.
/// @param path    as given, byte by byte
/// @param worker  path of the worker's executable
[[nodiscard]] std::variant<TrackWaves, Failure>
analyzeWaves(const QByteArray& path, const host::Preferences& preferences, const QString& worker);

}  // namespace tunesift::cli
