#pragma once

#include "host/AnalysisRequest.h"
#include "host/TrackResult.h"
#include "host/WorkerSettings.h"
#include "host/messages.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>

namespace tunesift::host {

class WorkerProcess;
class TrackRun;

/// Analyses tracks one after the other by a worker process, which it starts when the first track comes,
/// keeps for the next ones, and replaces when it has died. Lives on a thread with an event loop and belongs
/// to whoever made it; the worker has ended when the destructor returns.
class AnalysisSession : public QObject {
    Q_OBJECT

public:
    explicit AnalysisSession(WorkerSettings settings);
    ~AnalysisSession() override;

    /// Begins to analyse a track. Must not be called while another one is being analysed.
    void start(const AnalysisRequest& request);

    /// Asks the worker to end the run; the result, kStopped as a rule, comes when it has. Ignored when
    /// nothing runs.
    void stop();

    /// Ends the run and the worker at once; the result is kStopped. Ignored when nothing runs.
    void abort();

    [[nodiscard]] bool isRunning() const noexcept { return run_ != nullptr; }

    /// 0 while there is no worker.
    [[nodiscard]] qint64 workerProcessId() const;

Q_SIGNALS:
    /// 0 to 1; the share of the current track that is done.
    void progressed(double share);

    /// Every message of the current run, for hosts that want the waves and the grids as they come.
    void messageReceived(const tunesift::host::Message& message);

    /// The run is over, well or badly. Emitted from the event loop, so that the next track can be started
    /// from a slot.
    void trackFinished(const tunesift::host::TrackResult& result);

private:
    void beginOnFreshWorker();
    void onWorkerConnected();
    void onWorkerFailed(const TrackError& error);
    void onMessage(const Message& message);
    void onSilence();
    [[nodiscard]] std::chrono::milliseconds allowedSilence() const;
    void onTrackTimeout();
    void allowFor(const TrackInfo& info);
    void finish(const std::optional<TrackError>& error);

    const WorkerSettings settings_;
    std::unique_ptr<WorkerProcess> worker_;
    bool workerIsFresh_ = false;      ///< It has not been given a track before the current one.
    double cpuSecondsAccounted_ = 0;  ///< Of the current worker, to earlier tracks.
    std::unique_ptr<TrackRun> run_;
    QElapsedTimer sinceRequest_;
    QTimer silenceTimer_;
    QElapsedTimer sinceWord_;  ///< Since the worker's last message; cheaper than setting the timer each time.
    QTimer trackTimer_;
};

}  // namespace tunesift::host
