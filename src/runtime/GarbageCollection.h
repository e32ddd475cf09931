#pragma once

#include "runtime/Thread.h"

#include <atomic>
#include <cstdint>
#include <ctime>

namespace ebo {

class Irefcounted;

/// The thread on which objects end that have lost their last reference. One per process: made and started
/// before any other object of the system, destroyed by main after all other threads have been joined.
///
/// Dropping a last reference is cheap on every thread: one small allocation and a compare-and-swap, neither
/// a mutex nor a destructor.
class GarbageCollection : public Thread {
public:
    /// Publishes the new object as the process's collector. It collects from then on, and destroys once
    /// started.
    GarbageCollection();

    /// Stops the thread, then ends all that is left. From its beginning on, what dies is ended at once on
    /// the dropping thread. If this is the main thread, its deferred deletions are delivered too, so that
    /// nothing outlives the collector.
    ~GarbageCollection() override;

    /// The process's collector, or null.
    [[nodiscard]] static GarbageCollection* instance() noexcept;

    /// Queues an object; takes over the caller's count, which need not be the last. Any thread.
    void collect(Irefcounted* reference);

    /// Ends what is pending, oldest first; with `delayed`, the young are given up to 100 ms each.
    /// @return 1 if anything was pending, otherwise 0
    int purge(bool delayed);

    /// Objects waiting, for tests and diagnosis.
    [[nodiscard]] std::int32_t pendingCount() const noexcept { return pendingCount_.load(); }

private:
    struct PendingObject {
        Irefcounted* reference;
        std::clock_t queuedAt;  ///< Processor time of the process.
        PendingObject* next;
    };

    void _run() override;
    PendingObject* takeOldestFirst();
    void rest(const PendingObject& object);
    void destroyLeftovers();

    std::atomic<PendingObject*> pendingHead_{nullptr};
    std::atomic<bool> dying_{false};
    std::atomic<std::int32_t> pendingCount_{0};
    std::atomic<bool> hurried_{false};
};

}  // namespace ebo
