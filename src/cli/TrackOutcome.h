#pragma once

#include "host/TrackResult.h"

#include <QString>

#include <optional>

namespace tunesift::cli {

/// Why a track has no results, in a word for programs and a line for people.
struct Failure {
    QString kind;
    QString text;
};

/// What is to be reported of one track.
struct TrackOutcome {
    host::TrackResult result;
    std::optional<Failure> failure;
};

}  // namespace tunesift::cli
