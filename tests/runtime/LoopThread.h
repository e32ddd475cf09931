#pragma once

#include <QThread>

namespace runtimetest {

/// A QThread with a running event loop, ended and joined with this object.
class LoopThread {
public:
    LoopThread() { thread_.start(); }
    ~LoopThread() { end(); }
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;

    /// Quits the loop and joins; deferred deletions are delivered on the way. Further calls do nothing.
    void end()
    {
        thread_.quit();
        thread_.wait();
    }

    [[nodiscard]] QThread* get() noexcept { return &thread_; }

private:
    QThread thread_;
};

}  // namespace runtimetest
