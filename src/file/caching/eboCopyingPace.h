#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

/// How fast a file is copied: a block whose reading took long tells that others are reading from the slow
/// storage, too, and the copier gives way to them. The caching thread's own clock and rests; a test replaces
/// them by deriving.
class eboCopyingPace {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~eboCopyingPace() = default;

    /// How long to rest after a block whose reading took that long; 0 for not at all.
    [[nodiscard]] static std::chrono::milliseconds restAfter(std::chrono::milliseconds reading);

    [[nodiscard]] virtual Clock::time_point now() const { return Clock::now(); }

    /// Waits for that long, or until it is over early. The guard is held at both ends; whatever makes it be
    /// over notifies.
    virtual void rest(std::chrono::milliseconds time, std::unique_lock<std::mutex>& guard,
                      std::condition_variable& wakeUp, const std::function<bool()>& isOver)
    {
        wakeUp.wait_for(guard, time, isOver);
    }
};
