#pragma once

#include "cli/batch/BatchProgress.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace tunesift::cli {

/// What is said at the end of a batch.
struct BatchSummary {
    BatchCount count;
    qint64 skipped = 0;                                  ///< For which there were results already.
    qint64 skippedFailed = 0;                            ///< Of those, the ones that had failed.
    double elapsed = 0.0;                                ///< Seconds.
    std::vector<std::pair<QByteArray, QString>> failed;  ///< Paths and kinds, to be named.

    [[nodiscard]] QString text() const;
};

}  // namespace tunesift::cli
