#pragma once

#include <QThread>

#include <mutex>

namespace ebo {

/// A thread with an event loop on which counted QObjects live.
///
/// Whoever ends such an object looks whether its thread still runs and, if so, leaves the object to it. Both
/// in one step: a thread neither finishes nor is deleted between the look and the leaving. That is what makes
/// this more than a QThread, and what the mutex of `hold` is for.
class HomeThread : private std::unique_lock<std::mutex>, public QThread {
public:
    HomeThread();

    /// Joins the thread. It has been told to quit, or has never run.
    ~HomeThread() override;

    /// Starts the thread; false, with nothing running, if the system does not have what it takes.
    [[nodiscard]] bool startIfPossible();

    /// While somebody has this, no thread of this kind passes the point up to which it takes deferred
    /// deletions, and none is deleted. Any thread; held shortly.
    [[nodiscard]] static std::unique_lock<std::mutex> hold();
};

}  // namespace ebo
