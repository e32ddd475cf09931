#pragma once

#include "runtime/refcounted.h"

namespace ebo {

enum class ThreadState : int { kStopped = 0, kStarting = 1, kRunning = 2, kFinished = 3 };

/// Hears of every thread of ours as it starts and ends, on that thread. Optional and process-wide: see
/// Thread::setObserver. A normal process has none.
class ThreadObserver : public refcounted {
public:
    virtual void threadStarted(int observerId) = 0;
    virtual void threadEnded(int observerId, ThreadState state) = 0;
};

}  // namespace ebo
