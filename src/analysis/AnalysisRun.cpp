#include "analysis/AnalysisRun.h"

#include "analysis/BeatDetectionRunner.h"

#include <climits>
#include <utility>

AnalysisRun::AnalysisRun(ebo::weakptr<ITrackData> track)
    : stopFlag_(std::make_shared<StopAnalysisFlag>()), thread_(std::make_unique<ebo::HomeThread>()),
      runner_(std::make_unique<BeatDetectionRunner>(std::move(track), stopFlag_))
{
    runner_->moveToThread(thread_.get());
    // The thread object lives on the main thread, which may be past its event loop when a run ends; the
    // thread is told to quit on the spot.
    QObject::connect(runner_.get(), &BeatDetectionRunner::finished, thread_.get(), &QThread::quit,
                     Qt::DirectConnection);
}

AnalysisRun::~AnalysisRun()
{
    stop();
    join();
}

bool AnalysisRun::start()
{
    hasStarted_ = thread_->startIfPossible();
    return hasStarted_;
}

void AnalysisRun::stop()
{
    if (!runner_)
        return;
    QMetaObject::invokeMethod(runner_.get(), &BeatDetectionRunner::stopBeatDetection, Qt::QueuedConnection);
    stopFlag_->raise();
}

bool AnalysisRun::isIdle() const { return !runner_ || stopFlag_->isRaised() || runner_->isOver(); }

bool AnalysisRun::join(unsigned long milliseconds)
{
    if (!thread_)
        return true;
    thread_->quit();
    if (!thread_->wait(milliseconds))
        return false;
    runner_.reset();
    thread_.reset();
    return true;
}

void AnalysisRun::join() { join(ULONG_MAX); }
