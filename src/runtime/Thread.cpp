#include "runtime/Thread.h"

#include "runtime/refptr.h"
#include "runtime/threadPriority.h"

#include <boost/thread.hpp>

#include <QDebug>

#include <typeinfo>

namespace ebo {
namespace {

refptr<ThreadObserver>& observer()
{
    static refptr<ThreadObserver> instance;
    return instance;
}

const char* className(const std::type_info& type)
{
    const char* name = type.name();
    return *name == '*' ? name + 1 : name;
}

}  // namespace

void Thread::setObserver(const refptr<ThreadObserver>& newObserver) { observer() = newObserver; }

Thread::Thread(int priority, int observerId) : priority_(priority), observerId_(observerId) {}

Thread::~Thread() { stop(); }

void Thread::start()
{
    stop();
    state_ = ThreadState::kStarting;
    stopFlag_ = false;
    try {
        thread_ = std::make_unique<boost::thread>([this] { threadEntry(); });
    } catch (...) {
        state_ = ThreadState::kStopped;
        throw;
    }
    state_ = ThreadState::kRunning;
}

bool Thread::stop()
{
    if (state_ == ThreadState::kStopped)
        return true;
    try {
        stopOrThrow();
    } catch (const std::exception& error) {
        qWarning() << "caught exception stopping the thread" << className(typeid(*this)) << error.what();
    } catch (...) {
        qWarning() << "caught exception stopping the thread" << className(typeid(*this));
    }
    return true;
}

void Thread::stopOrThrow()
{
    if (state_ == ThreadState::kFinished && thread_ && thread_->get_id() == boost::thread::id())
        return;
    waitWhileStarting();
    if (thread_) {
        requestStop();
        {
            // A body that has just found the flag clear is inside its wait before the mutex can be had.
            const std::lock_guard guard(wakeUpMutex_);
        }
        wakeUp_.notify_all();
        joinAndForget();
    }
    state_ = ThreadState::kStopped;
}

void Thread::joinAndForget()
{
    thread_->join();
    thread_.reset();
}

void Thread::changePriority(int level)
{
    if (thread_)
        setThreadPriority(thread_->native_handle(), level);
    priority_ = level;
}

void Thread::waitWhileStarting() const
{
    while (state_ == ThreadState::kStarting)
        boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
}

void Thread::threadEntry()
{
    waitWhileStarting();  // start is still storing thread_
    if (!thread_)
        qFatal("There was no thread pointer ?!");
    setThreadPriority(thread_->native_handle(), priority_);
    if (observer())
        observer()->threadStarted(observerId_);

    try {
        _run();
    } catch (const boost::thread_interrupted&) {
        // The way to end a body that sleeps; nothing to tell.
    } catch (...) {
        qWarning() << "general exception in _run()";
    }

    ThreadState seen = ThreadState::kRunning;
    state_.compare_exchange_strong(seen, ThreadState::kFinished);
    if (observer())
        observer()->threadEnded(observerId_, state_);
}

}  // namespace ebo
