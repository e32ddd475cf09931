#pragma once

#include "cli/rows/Shard.h"
#include "host/TrackResult.h"

#include <QByteArray>
#include <QLatin1String>
#include <QString>

#include <cstddef>
#include <optional>

namespace tunesift::cli {

template <std::size_t size>
constexpr QLatin1String kindWord(const char (&word)[size])
{
    return QLatin1String(word, static_cast<int>(size) - 1);
}

/// The kinds of failure: what a track without results, or with those of a part of it, is told with.
inline constexpr QLatin1String kNotFound = kindWord("not-found");
inline constexpr QLatin1String kPermission = kindWord("permission");
inline constexpr QLatin1String kEmpty = kindWord("empty");
inline constexpr QLatin1String kNotAudio = kindWord("not-audio");
inline constexpr QLatin1String kUnreadable =
    kindWord("unreadable");  ///< Its disk, or the link to it, failed.
inline constexpr QLatin1String kTooShort = kindWord("too-short");
inline constexpr QLatin1String kTooLong = kindWord("too-long");
inline constexpr QLatin1String kUnsupported = kindWord("unsupported");
inline constexpr QLatin1String kTruncated =
    kindWord("truncated");  ///< What there is of it has been analysed.
inline constexpr QLatin1String kCrashed = kindWord("crashed");
inline constexpr QLatin1String kTimeout = kindWord("timeout");
inline constexpr QLatin1String kOutOfMemory = kindWord("out-of-memory");
inline constexpr QLatin1String kUnreachable = kindWord("unreachable");
inline constexpr QLatin1String kCancelled = kindWord("cancelled");

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
