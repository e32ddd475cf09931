#include "network/exchange/ThreadCalls.h"

#include <utility>

namespace eboNetworkExchange {

bool ThreadCalls::call(QObject* context, std::function<void()> function)
{
    const auto done = std::make_shared<bool>(false);  // guarded by mutex_
    const auto run = [calls = shared_from_this(), done, function = std::move(function)] {
        // Nobody closes the calls meanwhile: that happens on this thread. So a caller who has left is seen
        // here.
        if (!calls->isOpen())
            return;
        function();
        const std::lock_guard lock(calls->mutex_);
        *done = true;
        calls->changed_.notify_all();
    };
    if (!isOpen() || !QMetaObject::invokeMethod(context, run, Qt::QueuedConnection))
        return false;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return *done || !isOpen_; });
    return *done;
}

bool ThreadCalls::isOpen() const
{
    const std::lock_guard lock(mutex_);
    return isOpen_;
}

void ThreadCalls::close()
{
    const std::lock_guard lock(mutex_);
    isOpen_ = false;
    changed_.notify_all();
}

}  // namespace eboNetworkExchange
