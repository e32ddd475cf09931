#pragma once

#include "cli/rows/Shard.h"
#include "host/TrackResult.h"

#include <QByteArray>
#include <QLatin1String>
#include <QString>

#include <optional>

namespace tunesift::cli {

/// The kinds of failure: what a track without results, or with those of a part of it, is told with.
inline constexpr QLatin1String kNotFound("not-found");
inline constexpr QLatin1String kPermission("permission");
inline constexpr QLatin1String kEmpty("empty");
inline constexpr QLatin1String kNotAudio("not-audio");
inline constexpr QLatin1String kUnsupported("unsupported");
inline constexpr QLatin1String kTruncated("truncated");  ///< What there is of it has been analysed.
inline constexpr QLatin1String kCrashed("crashed");
inline constexpr QLatin1String kTimeout("timeout");
inline constexpr QLatin1String kOutOfMemory("out-of-memory");
inline constexpr QLatin1String kUnreachable("unreachable");
inline constexpr QLatin1String kCancelled("cancelled");

/// Why a track has no results, in a word for programs and a line for people.
struct Failure {
    QString kind;
    QString text;
};

/// By what a file is known to be the same as before.
struct FileStamp {
    qint64 size = 0;      ///< Bytes.
    qint64 modified = 0;  ///< Nanoseconds since 1970.

    bool operator==(const FileStamp&) const = default;
};

/// What is to be reported of one track.
struct TrackOutcome {
    QByteArray path;  ///< As given, byte by byte.
    host::TrackResult result;
    std::optional<Failure> failure;
    std::optional<FileStamp> stamp;
    QString options;             ///< What the results depend on besides the file.
    std::optional<Shard> shard;  ///< The share of a larger run that this belongs to.
};

/// What makes the results: our name and version.
[[nodiscard]] QString analyzerVersion();

/// The failure that a worker's result means for the track.
[[nodiscard]] std::optional<Failure> failureOf(const QByteArray& path, const host::TrackResult& result);

}  // namespace tunesift::cli
