#pragma once

#include "cli/rows/Row.h"
#include "cli/rows/TrackOutcome.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

namespace tunesift::cli {

/// What an output file says already. Of several rows of one track the last one counts.
class EarlierRows {
public:
    explicit EarlierRows(const QByteArray& content);

    /// Whether there is a row for the track that was made by the same analyser with the same options from a
    /// file of this stamp.
    [[nodiscard]] bool holds(const QByteArray& path, const QString& options,
                             const std::optional<FileStamp>& stamp) const;

    /// Whether the track's row tells a failure.
    [[nodiscard]] bool hasFailed(const QByteArray& path) const;

    /// The tracks that have failed, in the order of their first rows.
    [[nodiscard]] std::vector<QByteArray> failedPaths() const;

private:
    QHash<QByteArray, Row> rows_;
    std::vector<QByteArray> order_;
};

}  // namespace tunesift::cli
