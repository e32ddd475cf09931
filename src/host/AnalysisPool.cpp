#include "host/AnalysisPool.h"

#include "host/AnalysisSession.h"

#include <QAbstractEventDispatcher>
#include <QThread>

#include <algorithm>
#include <utility>

namespace tunesift::host {
namespace {

// Workers speak after every block, some two thousand times a second. What comes within this time is read in
// one turn of the event loop, which halves what the host costs; a track ends that much later at most.
constexpr unsigned long kBreatherMicroseconds = 1000;

/// Whether the end of the worker may have had nothing to do with the track.
bool mayBeAnAccident(const TrackResult& result)
{
    if (result.succeeded())
        return false;
    switch (result.error->kind) {
    case ErrorKind::kNeverConnected:
    case ErrorKind::kWorkerExited:
    case ErrorKind::kWorkerCrashed:
    case ErrorKind::kConnectionLost:
        return true;
    default:
        return false;
    }
}

}  // namespace

AnalysisPool::AnalysisPool(const WorkerSettings& settings, int workers)
{
    for (int i = 0; i < std::max(workers, 1); ++i) {
        slots_.push_back(std::make_unique<Slot>());
        Slot& slot = *slots_.back();
        slot.session = std::make_unique<AnalysisSession>(settings);
        connect(slot.session.get(), &AnalysisSession::trackFinished, this,
                [this, &slot](const TrackResult& result) { onFinished(slot, result); });
        connect(slot.session.get(), &AnalysisSession::progressed, this,
                [this, &slot](double share) { Q_EMIT progressed(slot.track.number, share); });
    }
}

AnalysisPool::~AnalysisPool() = default;

bool AnalysisPool::isBusy() const
{
    return std::any_of(slots_.begin(), slots_.end(), [](const auto& slot) { return slot->isBusy; });
}

void AnalysisPool::start(Source source)
{
    source_ = std::move(source);
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this, [this] {
        if (isBusy() && !aborted_)
            QThread::usleep(kBreatherMicroseconds);
    });
    for (const auto& slot : slots_)
        feed(*slot);
    announceTheEnd();
}

void AnalysisPool::abort()
{
    aborted_ = true;
    for (const auto& slot : slots_)
        slot->session->abort();
}

void AnalysisPool::onFinished(Slot& slot, const TrackResult& result)
{
    if (aborted_)
        return;
    if (!slot.isSecondChance && mayBeAnAccident(result)) {
        slot.isSecondChance = true;
        slot.session->start(slot.track.request);
        return;
    }
    slot.isBusy = false;
    Q_EMIT trackFinished(slot.track.number, result);
    feed(slot);
    announceTheEnd();
}

void AnalysisPool::feed(Slot& slot)
{
    if (aborted_)
        return;
    auto next = source_();
    if (!next || aborted_)
        return;
    slot.track = std::move(*next);
    slot.isBusy = true;
    slot.isSecondChance = false;
    slot.session->start(slot.track.request);
}

void AnalysisPool::announceTheEnd()
{
    if (!isBusy() && !aborted_)
        QMetaObject::invokeMethod(this, &AnalysisPool::allFinished, Qt::QueuedConnection);
}

}  // namespace tunesift::host
