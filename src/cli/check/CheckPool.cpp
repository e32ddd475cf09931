#include "cli/check/CheckPool.h"

#include <algorithm>
#include <utility>

namespace tunesift::cli {

CheckPool::~CheckPool() { abort(); }

void CheckPool::start(Source source)
{
    source_ = std::move(source);
    feed();
}

void CheckPool::abort()
{
    aborted_ = true;
    for (const auto& probe : running_) {
        probe->process.disconnect(this);
        probe->process.kill();
        probe->process.waitForFinished(-1);
    }
    running_.clear();
}

void CheckPool::feed()
{
    while (!aborted_ && running_.size() < static_cast<std::size_t>(std::max(settings_.processes, 1))) {
        const auto task = source_();
        if (!task || aborted_)
            break;
        auto& probe = *running_.emplace_back(std::make_unique<Probe>());
        probe.number = task->number;
        probe.process.limitMemory(settings_.memory);
        probe.process.setStandardInputFile(QProcess::nullDevice());
        probe.timer.setSingleShot(true);
        connect(&probe.timer, &QTimer::timeout, this, [&probe] {
            probe.timedOut = true;
            probe.process.kill();
        });
        // Queued, since the end takes the process away.
        connect(
            &probe.process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            [this, &probe] { onFinished(probe); }, Qt::QueuedConnection);
        connect(
            &probe.process, &QProcess::errorOccurred, this,
            [this, &probe](QProcess::ProcessError error) {
                if (error == QProcess::FailedToStart)
                    onFinished(probe);
            },
            Qt::QueuedConnection);
        probe.timer.start(settings_.timeout);
        probe.process.start(settings_.program, {QStringLiteral("check"), task->path});
    }
    if (running_.empty() && !aborted_)
        QMetaObject::invokeMethod(this, &CheckPool::allFinished, Qt::QueuedConnection);
}

void CheckPool::onFinished(Probe& probe)
{
    if (aborted_)
        return;
    const qint64 number = probe.number;
    const ProbeOutcome outcome = outcomeOf(probe);
    running_.erase(std::find_if(running_.begin(), running_.end(),
                                [&probe](const auto& other) { return other.get() == &probe; }));
    Q_EMIT probed(number, outcome);
    feed();
}

ProbeOutcome CheckPool::outcomeOf(Probe& probe)
{
    using End = ProbeOutcome::End;
    if (probe.timedOut)
        return {End::kTimedOut, {}};
    if (probe.process.error() == QProcess::FailedToStart)
        return {End::kCannotStart, probe.process.errorString().toUtf8()};
    if (probe.process.exitStatus() == QProcess::NormalExit && probe.process.exitCode() == 0)
        return {End::kWell, probe.process.readAllStandardOutput()};
    const bool wantedMemory = probe.process.readAllStandardError().contains("std::bad_alloc");
    return {wantedMemory ? End::kWantedMemory : End::kDied, {}};
}

}  // namespace tunesift::cli
