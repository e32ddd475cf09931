#pragma once

#include "runtime/Thread.h"

#include <functional>
#include <utility>

namespace runtimetest {

/// A thread of ours whose body is a function; the function is given the thread itself.
class BodyThread : public ebo::Thread {
public:
    using Body = std::function<void(BodyThread&)>;

    explicit BodyThread(Body body, int priority = 0, int observerId = -1)
        : Thread(priority, observerId), body_(std::move(body))
    {}
    ~BodyThread() override { stop(); }

    using Thread::stopRequested;

    /// Blocks the body until stop is called.
    void waitForStop()
    {
        std::unique_lock lock(wakeUpMutex_);
        wakeUp_.wait(lock, [this] { return stopRequested(); });
    }

private:
    void _run() override { body_(*this); }

    Body body_;
};

}  // namespace runtimetest
