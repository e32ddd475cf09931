#pragma once

#include "runtime/ThreadObserver.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace boost {
class thread;
}

namespace ebo {

template <typename T>
class refptr;

/// Base of the threads that the system makes itself. Not a Qt object; no counted QObject may have affinity
/// to such a thread. start and stop belong to the owner; a derived class stops in its own destructor, since
/// its body must not outlive its members.
class Thread {
public:
    /// @param priority    level as in schedulingFor
    /// @param observerId  handed to the ThreadObserver
    explicit Thread(int priority = 0, int observerId = -1);
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Stops a running body first, then runs _run on a new native thread.
    /// @throws boost::thread_resource_error if the native thread cannot be made; the object is then stopped.
    void start();

    /// Asks the body to end and joins it. Always returns true: what goes wrong (a thread that stops itself,
    /// above all) is logged and leaves the state as it was.
    bool stop();

    [[nodiscard]] ThreadState state() const noexcept { return state_.load(); }

    /// The level in force, for tests and diagnosis.
    [[nodiscard]] int priority() const noexcept { return priority_.load(); }

    /// The process-wide observer of all threads of ours; null, the default, for none. Not to be changed
    /// while a thread starts or ends.
    static void setObserver(const refptr<ThreadObserver>& observer);

protected:
    /// The body. It returns when it sees stopRequested.
    virtual void _run() = 0;

    [[nodiscard]] bool stopRequested() const noexcept { return stopFlag_.load(); }
    void requestStop() noexcept { stopFlag_.store(true); }

    /// Joins and deletes the native thread without asking it to stop. Lets the error of a self-join out.
    void joinAndForget();

    [[nodiscard]] bool exists() const noexcept { return thread_ != nullptr; }

    /// Stores a new level and applies it to the native thread, if there is one. Any thread.
    void changePriority(int level);

    std::mutex wakeUpMutex_;  ///< For bodies that wait; notified by stop.
    std::condition_variable wakeUp_;

private:
    void threadEntry();
    void stopOrThrow();
    void waitWhileStarting() const;

    std::atomic<bool> stopFlag_{false};
    std::atomic<int> priority_;
    const int observerId_;
    std::atomic<ThreadState> state_{ThreadState::kStopped};
    std::unique_ptr<boost::thread> thread_;
};

}  // namespace ebo
