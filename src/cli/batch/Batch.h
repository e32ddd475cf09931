#pragma once

#include "cli/AnalyzeOptions.h"
#include "cli/ProgressBar.h"
#include "cli/batch/BatchProgress.h"
#include "cli/batch/BatchSummary.h"
#include "cli/batch/RowPrinter.h"
#include "cli/batch/TrackList.h"
#include "cli/batch/WorkerPaths.h"
#include "host/AnalysisPool.h"

#include <QEventLoop>
#include <QString>

#include <optional>
#include <unordered_map>
#include <vector>

namespace tunesift::cli {

/// One run of `tunesift analyze`: sends tracks through the pool and their outcomes to the printer. On the
/// main thread.
class Batch {
public:
    Batch(const AnalyzeOptions& options, RowPrinter& printer);

    /// Analyses the tracks; once only.
    /// @param skipped  for the summary: what has been left out
    /// @return the exit status
    [[nodiscard]] int run(std::vector<ListedTrack> tracks, const BatchSummary& skipped);

private:
    [[nodiscard]] std::optional<host::PoolTrack> next();
    void onFinished(qint64 place, const host::TrackResult& result);
    void report(TrackOutcome outcome, qint64 place);
    void end(int status);
    [[nodiscard]] host::AnalysisRequest requestFor(const QString& name) const;
    [[nodiscard]] TrackOutcome outcomeFor(qint64 place) const;
    void clearProgress();

    const AnalyzeOptions& options_;
    RowPrinter& printer_;
    host::AnalysisPool pool_;
    WorkerPaths workerPaths_;
    std::vector<ListedTrack> tracks_;
    qint64 nextPlace_ = 0;
    std::unordered_map<qint64, std::optional<FileStamp>> running_;  ///< With the stamps from before.
    BatchSummary summary_;
    BatchProgress progress_;
    ProgressBar bar_;  ///< Of a single track.
    QEventLoop loop_;
    std::optional<int> status_;  ///< Set when it is decided before the end.
};

}  // namespace tunesift::cli
