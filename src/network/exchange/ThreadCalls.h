#pragma once

#include <QObject>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace eboNetworkExchange {

/// Runs functions on another thread's event loop for callers that wait, and lets nobody wait for a loop that
/// has ended. Shared by all who call that thread; any thread may call.
class ThreadCalls : public std::enable_shared_from_this<ThreadCalls> {
public:
    /// Runs the function on the thread of the object and waits until it has.
    /// @param context  outlives the call; lives on another thread than the caller's
    /// @return false, with the function never to be run, if the calls are closed before its turn
    bool call(QObject* context, std::function<void()> function);

    [[nodiscard]] bool isOpen() const;

    /// Ends all waiting, and takes no more calls. On the thread that the calls run on, before its loop ends.
    void close();

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool isOpen_ = true;  // guarded by mutex_
};

}  // namespace eboNetworkExchange
