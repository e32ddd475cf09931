#pragma once

#include "analysis/StopAnalysisFlag.h"
#include "runtime/HomeThread.h"
#include "runtime/weakptr.h"

#include <memory>

class BeatDetectionRunner;
class ITrackData;

/// One run: its thread, the runner that works there, and the way to tell it to stop. Shared by the run's
/// track and by RunThreads, which sees to its end; the main thread's, with all operations.
class AnalysisRun {
public:
    /// @param track  whose run it is; a running analysis keeps no track alive
    explicit AnalysisRun(ebo::weakptr<ITrackData> track);

    /// Stops and joins what still runs.
    ~AnalysisRun();
    AnalysisRun(const AnalysisRun&) = delete;
    AnalysisRun& operator=(const AnalysisRun&) = delete;

    /// Both live until `join`: null after that.
    [[nodiscard]] BeatDetectionRunner* runner() const noexcept { return runner_.get(); }
    [[nodiscard]] QThread* thread() const noexcept { return thread_.get(); }

    /// Starts the thread, which waits for the runner's first call. False if the system has none to give.
    bool start();

    /// Whether `start` has succeeded, however the run has gone on.
    [[nodiscard]] bool hasStarted() const noexcept { return hasStarted_; }

    /// Asks the runner to end; it says detectionStopped when it has, unless it is past its last look.
    void stop();

    /// Whether nobody waits for its results: it was told to stop, or has nothing left to do.
    [[nodiscard]] bool isIdle() const;

    /// Tells the thread to end once the runner has come to its end, and waits for that, which is soon for an
    /// idle run. What is left of the run is then deleted.
    /// @return false, with everything as it was, if the thread is still up after so many milliseconds
    bool join(unsigned long milliseconds);
    void join();

private:
    const SharedStopAnalysisFlag stopFlag_;
    std::unique_ptr<ebo::HomeThread> thread_;
    std::unique_ptr<BeatDetectionRunner> runner_;
    bool hasStarted_ = false;
};
