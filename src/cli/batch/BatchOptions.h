#pragma once

#include "cli/rows/Shard.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <variant>

class QCommandLineParser;

namespace tunesift::cli {

/// Options of verbs that go through many tracks.
struct TrackOptions {
    QStringList lists;  ///< Files that name tracks; "-" for standard input.
    bool listsAreNulSeparated = false;
    int jobs = 1;
    std::chrono::milliseconds timeout{0};  ///< Per track; 0 for one by its length.
    qint64 memory = 0;                     ///< Bytes a worker may hold; 0 for no limit.
};

/// The options of `tunesift analyze` that are about many tracks.
struct BatchOptions : TrackOptions {
    bool csv = false;
    QString output;  ///< File to append to; empty for standard output.
    bool resume = false;
    bool retryFailed = false;
    std::optional<Shard> shard;
};

/// Tells the parser of them.
void addTrackOptions(QCommandLineParser& parser);
void addBatchOptions(QCommandLineParser& parser);

/// What the parser has found; a sentence if it makes no sense.
[[nodiscard]] std::variant<TrackOptions, QString> readTrackOptions(const QCommandLineParser& parser);
[[nodiscard]] std::variant<BatchOptions, QString> readBatchOptions(const QCommandLineParser& parser);

}  // namespace tunesift::cli
