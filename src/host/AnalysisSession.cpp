#include "host/AnalysisSession.h"

#include "host/TrackRun.h"
#include "host/WorkerProcess.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tunesift::host {

AnalysisSession::AnalysisSession(WorkerSettings settings) : settings_(std::move(settings))
{
    silenceTimer_.setSingleShot(true);
    connect(&silenceTimer_, &QTimer::timeout, this, &AnalysisSession::onSilence);
    trackTimer_.setSingleShot(true);
    connect(&trackTimer_, &QTimer::timeout, this, &AnalysisSession::onTrackTimeout);
}

AnalysisSession::~AnalysisSession() = default;

void AnalysisSession::start(const AnalysisRequest& request)
{
    Q_ASSERT(!isRunning());
    sinceRequest_.start();
    run_ = std::make_unique<TrackRun>(request);
    if (worker_ && worker_->isConnected()) {
        workerIsFresh_ = false;
        onWorkerConnected();
    } else {
        beginOnFreshWorker();
    }
}

void AnalysisSession::stop()
{
    if (isRunning())
        worker_->sendStop();
}

void AnalysisSession::abort()
{
    if (!isRunning())
        return;
    worker_->kill();
    finish(TrackError{ErrorKind::kStopped, QStringLiteral("the analysis was aborted")});
}

qint64 AnalysisSession::workerProcessId() const { return worker_ ? worker_->processId() : 0; }

void AnalysisSession::beginOnFreshWorker()
{
    worker_ = std::make_unique<WorkerProcess>(settings_);
    workerIsFresh_ = true;
    cpuSecondsAccounted_ = 0;
    connect(worker_.get(), &WorkerProcess::connected, this, &AnalysisSession::onWorkerConnected);
    connect(worker_.get(), &WorkerProcess::messageReceived, this, &AnalysisSession::onMessage);
    connect(worker_.get(), &WorkerProcess::failed, this, &AnalysisSession::onWorkerFailed);
    worker_->start();
}

void AnalysisSession::onWorkerConnected()
{
    if (!isRunning())
        return;
    worker_->sendStart(run_->request());
    sinceWord_.start();
    silenceTimer_.start(allowedSilence());
    const auto untilFound = run_->request().patience.value_or(std::chrono::milliseconds(0));
    trackTimer_.start(settings_.trackTimeout.count() > 0 ? settings_.trackTimeout
                                                         : kTrackTimeout + untilFound);
}

void AnalysisSession::onMessage(const Message& message)
{
    if (!isRunning() || !run_->take(message))
        return;
    sinceWord_.start();
    if (const auto* progress = std::get_if<Progress>(&message))
        Q_EMIT progressed(progress->share);
    if (const auto* info = std::get_if<TrackInfo>(&message)) {
        allowFor(*info);
        silenceTimer_.start(allowedSilence());
    } else if (isRunning() && run_->isOpening()) {
        silenceTimer_.stop();  // a large file on a slow link opens slowly, without a word, and is alive
    }
    Q_EMIT messageReceived(message);
    if (isRunning() && run_->isOver())
        finish({});
}

void AnalysisSession::onWorkerFailed(const TrackError& error)
{
    if (!isRunning())
        return;
    // A worker that died over the track before, or of its own after it, is no verdict on this one.
    const bool diedEarlier = !workerIsFresh_ && !run_->hasStarted();
    if (!diedEarlier) {
        finish(error);
        return;
    }
    silenceTimer_.stop();
    trackTimer_.stop();
    // Not from here, where the old worker is still in its signal.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (isRunning() && worker_->hasEnded())
                beginOnFreshWorker();
        },
        Qt::QueuedConnection);
}

void AnalysisSession::onSilence()
{
    const auto left = allowedSilence() - std::chrono::milliseconds(sinceWord_.elapsed());
    if (left.count() > 0) {
        silenceTimer_.start(left);
        return;
    }
    const bool isRemote = isNetPath(run_->request().path);
    const bool wasFound = run_->hasStarted();
    worker_->kill();
    if (!isRemote)
        finish(TrackError{ErrorKind::kSilent, QStringLiteral("the worker fell silent")});
    else if (wasFound)
        finish(TrackError{ErrorKind::kUnreachable, QStringLiteral("its device does not answer any more")});
    else
        finish(TrackError{ErrorKind::kUnreachable, QStringLiteral("its device was not found")});
}

std::chrono::milliseconds AnalysisSession::allowedSilence() const
{
    return run_->request().patience.value_or(settings_.silenceTimeout);
}

void AnalysisSession::onTrackTimeout()
{
    worker_->kill();
    finish(TrackError{ErrorKind::kTimedOut, QStringLiteral("it took longer than it may")});
}

void AnalysisSession::allowFor(const TrackInfo& info)
{
    if (settings_.trackTimeout.count() > 0)
        return;
    // A day is more than any track lasts, whatever its header says.
    constexpr double kLongest = 24.0 * 60 * 60;
    const double seconds = std::min(static_cast<double>(info.length) / info.sampleRate, kLongest);
    trackTimer_.start(kTrackTimeout + std::chrono::milliseconds(std::llround(seconds * 1000.0)));
}

void AnalysisSession::finish(const std::optional<TrackError>& error)
{
    silenceTimer_.stop();
    trackTimer_.stop();
    TrackResult result = std::exchange(run_, nullptr)->result(error);
    constexpr double kNanosecond = 1e-9;
    result.wallSeconds = static_cast<double>(sinceRequest_.nsecsElapsed()) * kNanosecond;
    if (const auto used = worker_->cpuSeconds())
        result.cpuSeconds = *used - std::exchange(cpuSecondsAccounted_, *used);
    QMetaObject::invokeMethod(
        this, [this, result = std::move(result)] { Q_EMIT trackFinished(result); }, Qt::QueuedConnection);
}

}  // namespace tunesift::host
