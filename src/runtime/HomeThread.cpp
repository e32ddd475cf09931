#include "runtime/HomeThread.h"

#include "runtime/resourcesLeft.h"

namespace ebo {

namespace {

// Several times what decoders, analysers and the network need. The usual eight megabytes count, for every
// thread, against the memory that a process may have.
constexpr unsigned kStackBytes = 1U << 20;

std::mutex& gate()
{
    static std::mutex mutex;
    return mutex;
}

}  // namespace

// The base that locks comes first, so it unlocks last: the QThread is gone by then.
HomeThread::HomeThread() : std::unique_lock<std::mutex>(gate(), std::defer_lock)
{
    setStackSize(kStackBytes);
    // A finishing thread does not count as running any more when it says so; whoever saw it run before has
    // left his object to it once the gate is free, and the deferred deletions are delivered next.
    connect(
        this, &QThread::finished, this, [] { (void)hold(); }, Qt::DirectConnection);
}

HomeThread::~HomeThread()
{
    wait();
    std::unique_lock<std::mutex>::lock();
}

bool HomeThread::startIfPossible()
{
    // Qt ends the process if an event loop gets no descriptor.
    if (!descriptorsAreLeft(1))
        return false;
    start(QThread::InheritPriority);
    return isRunning();
}

std::unique_lock<std::mutex> HomeThread::hold() { return std::unique_lock(gate()); }

}  // namespace ebo
