#pragma once

#include "cli/rows/Shard.h"
#include "cli/rows/TrackOutcome.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace tunesift::cli {

/// What is looked at in a row that was written earlier.
struct Row {
    QByteArray path;  ///< As it was given, byte by byte.
    int schema = 0;
    bool failed = false;
    QString errorKind;
    std::optional<FileStamp> stamp;
    QString options;
    QString analyzer;
    std::optional<Shard> shard;

    /// Nothing if the line is not a row.
    [[nodiscard]] static std::optional<Row> parse(const QByteArray& line);
};

/// Calls `take` for every row, with its line without the end, in the order of the file.
/// @return how many lines are no rows
qint64 forEachRow(const QByteArray& content, const std::function<void(Row&&, const QByteArray& line)>& take);

}  // namespace tunesift::cli
