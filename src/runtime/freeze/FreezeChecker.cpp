#include "runtime/freeze/FreezeChecker.h"

#include <algorithm>
#include <utility>

namespace eboFreezeDetector {

FreezeChecker::FreezeChecker(FrozenHandler handler) : handler_(std::move(handler)) {}

void FreezeChecker::start()
{
    timer_ = std::make_unique<QTimer>();
    connect(timer_.get(), &QTimer::timeout, this, &FreezeChecker::onCheckInterval);
    timer_->start(kIntervalMilliseconds);
}

void FreezeChecker::addProbe(const ProbePtr& probe) { probes_.push_back(probe); }

void FreezeChecker::removeProbe(const ProbePtr& probe)
{
    probes_.erase(std::remove(probes_.begin(), probes_.end(), probe), probes_.end());
}

void FreezeChecker::onCheckInterval()
{
    // Checks are counted, not time: a machine that slept as a whole has not frozen.
    clock_ += kIntervalMilliseconds;
    std::vector<ProbePtr> frozen;
    std::copy_if(probes_.begin(), probes_.end(), std::back_inserter(frozen),
                 [now = clock_](const ProbePtr& probe) { return probe->takeNote(now); });
    if (!frozen.empty())
        handler_(frozen);
}

}  // namespace eboFreezeDetector
