#include "analysis/RunThreads.h"

#include "analysis/BeatDetectionRunner.h"

#include <utility>

RunThreads::~RunThreads() { joinAll(); }

void RunThreads::start(std::unique_ptr<QThread> thread, std::unique_ptr<BeatDetectionRunner> runner,
                       SharedStopAnalysisFlag stopFlag)
{
    connect(this, &RunThreads::stopRequested, runner.get(), &BeatDetectionRunner::stopBeatDetection);
    connect(thread.get(), &QObject::destroyed, this, [this](const QObject* gone) {
        std::erase_if(runs_, [gone](const Run& run) { return run.thread == gone; });
    });
    runs_.push_back({thread.get(), runner.release(), std::move(stopFlag)});
    thread.release()->start();
}

void RunThreads::joinAll()
{
    Q_EMIT stopRequested();
    for (const Run& run : runs_)
        run.stopFlag->raise();
    for (const Run& run : runs_)
        run.thread->quit();
    for (const Run& run : std::exchange(runs_, {})) {
        run.thread->wait();
        // The runner is still there if its thread ended before the run began, or if the track was too short.
        delete run.runner.data();
        delete run.thread;
    }
}
