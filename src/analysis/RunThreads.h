#pragma once

#include "analysis/StopAnalysisFlag.h"

#include <QObject>
#include <QPointer>
#include <QThread>

#include <memory>
#include <vector>

class BeatDetectionRunner;

/// The threads of all runs that have not come to their end: running ones, and those whose track was too
/// short, which stay up without work until the process ends. Main thread only.
///
/// A run that ends in the ordinary way takes its thread and runner with it and leaves this table by itself.
/// Before the process ends, joinAll sees to all others.
class RunThreads : public QObject {
    Q_OBJECT

public:
    RunThreads() = default;
    ~RunThreads() override;

    /// Starts the thread, on which `runner` lives already. Both end by themselves once the runner's and the
    /// thread's signals say so, or in joinAll.
    /// @param stopFlag  the cell that the runner polls
    void start(std::unique_ptr<QThread> thread, std::unique_ptr<BeatDetectionRunner> runner,
               SharedStopAnalysisFlag stopFlag);

    /// Threads that are still up.
    [[nodiscard]] int count() const noexcept { return static_cast<int>(runs_.size()); }

    /// Tells every run to stop, joins all threads, and ends what they leave behind. Needs no event loop.
    void joinAll();

Q_SIGNALS:
    /// To every runner on its own thread.
    void stopRequested();

private:
    struct Run {
        QThread* thread;
        QPointer<BeatDetectionRunner>
            runner;  ///< The runner's own thread may delete it: looked at after the join only.
        SharedStopAnalysisFlag stopFlag;
    };

    std::vector<Run> runs_;
};
