#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

/// The answer to a question that goes out to another device: one thread asks and waits, the network thread
/// brings the answer. The order is `expect`, send, `wait`, so an answer is found however soon it comes.
template <typename T>
class eboNfsAnswer {
public:
    /// Forgets what came in before: the next answer is the one to a question that goes out now.
    void expect()
    {
        const std::lock_guard guard(mutex_);
        answer_.reset();
    }

    /// Brings an answer.
    void give(T answer)
    {
        {
            const std::lock_guard guard(mutex_);
            answer_ = std::move(answer);
        }
        arrived_.notify_all();
    }

    /// Lets who waits look again whether to give up.
    void wake()
    {
        // Nobody is between looking and waiting while the mutex is held.
        const std::lock_guard guard(mutex_);
        arrived_.notify_all();
    }

    /// Waits for an answer; nothing if none has come in time or `givesUp` says that none will.
    template <typename GivesUp>
    std::optional<T> wait(std::chrono::milliseconds time, GivesUp givesUp)
    {
        std::unique_lock lock(mutex_);
        arrived_.wait_for(lock, time, [&] { return answer_.has_value() || givesUp(); });
        return answer_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::optional<T> answer_;  // guarded by mutex_
};
