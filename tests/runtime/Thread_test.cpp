#include "BodyThread.h"

#include "runtime/refptr.h"
#include "support/eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <thread>
#include <vector>

namespace {

using ebo::ThreadState;
using runtimetest::BodyThread;
using testing::ElementsAre;
using testsupport::eventually;

TEST(Thread, IsStoppedUntilStarted)
{
    BodyThread thread([](BodyThread&) {});
    EXPECT_EQ(thread.state(), ThreadState::kStopped);
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.state(), ThreadState::kStopped);
}

TEST(Thread, RunsItsBodyOnAThreadOfItsOwn)
{
    std::promise<std::thread::id> ranOn;
    BodyThread thread([&](BodyThread&) { ranOn.set_value(std::this_thread::get_id()); });
    thread.start();
    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
}

TEST(Thread, IsRunningUntilItsBodyReturnsThenFinished)
{
    std::promise<void> mayEnd;
    BodyThread thread([gate = mayEnd.get_future().share()](BodyThread&) { gate.wait(); });
    thread.start();
    EXPECT_EQ(thread.state(), ThreadState::kRunning);
    mayEnd.set_value();
    EXPECT_TRUE(eventually([&] { return thread.state() == ThreadState::kFinished; }));
}

TEST(Thread, StopEndsABodyThatWatchesTheFlag)
{
    BodyThread thread([](const BodyThread& self) {
        while (!self.stopRequested())
            std::this_thread::yield();
    });
    thread.start();
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.state(), ThreadState::kStopped);
}

TEST(Thread, StopWakesABodyThatWaits)
{
    for (int round = 0; round < 50; ++round) {
        BodyThread thread([](BodyThread& self) { self.waitForStop(); });
        thread.start();
        EXPECT_TRUE(thread.stop());
    }
}

TEST(Thread, StopOfAFinishedThreadReturnsAtOnce)
{
    BodyThread thread([](BodyThread&) {});
    thread.start();
    ASSERT_TRUE(eventually([&] { return thread.state() == ThreadState::kFinished; }));
    EXPECT_TRUE(thread.stop());
    EXPECT_EQ(thread.state(), ThreadState::kStopped);
}

TEST(Thread, StartOfARunningThreadStopsItFirst)
{
    std::mutex mutex;
    std::vector<std::string> events;
    const auto note = [&](const std::string& event) {
        const std::lock_guard guard(mutex);
        events.push_back(event);
    };
    int run = 0;
    BodyThread thread([&](BodyThread& self) {
        const std::string name = "run " + std::to_string(++run);
        note(name + " begins");
        self.waitForStop();
        note(name + " ends");
    });
    thread.start();
    thread.start();
    thread.stop();
    EXPECT_THAT(events, ElementsAre("run 1 begins", "run 1 ends", "run 2 begins", "run 2 ends"));
}

TEST(Thread, StartsAgainAfterItHasFinished)
{
    std::atomic<int> runs{0};
    BodyThread thread([&](BodyThread&) { ++runs; });
    for (int expected = 1; expected <= 3; ++expected) {
        thread.start();
        ASSERT_TRUE(eventually([&] { return runs == expected; }));
    }
}

TEST(Thread, TheStopFlagOfAnEarlierRunIsForgotten)
{
    std::promise<bool> flag;
    bool first = true;
    BodyThread thread([&](BodyThread& self) {
        if (std::exchange(first, false))
            self.waitForStop();
        else
            flag.set_value(self.stopRequested());
    });
    thread.start();
    thread.stop();
    thread.start();
    EXPECT_FALSE(flag.get_future().get());
}

TEST(Thread, RunsUnderTheSchedulingOfItsLevel)
{
    for (int level = 0; level <= 8; ++level) {
        std::promise<int> policy;
        BodyThread thread([&](BodyThread&) { policy.set_value(sched_getscheduler(0)); }, level);
        EXPECT_EQ(thread.priority(), level);
        thread.start();
        EXPECT_EQ(policy.get_future().get(), SCHED_BATCH) << "level " << level;
    }
}

class RecordingObserver : public ebo::ThreadObserver {
public:
    struct Started {
        int observerId;
        std::thread::id thread;
    };
    struct Ended {
        int observerId;
        ThreadState state;
        std::thread::id thread;
    };

    void threadStarted(int observerId) override
    {
        const std::lock_guard guard(mutex);
        started.push_back({observerId, std::this_thread::get_id()});
    }
    void threadEnded(int observerId, ThreadState state) override
    {
        const std::lock_guard guard(mutex);
        ended.push_back({observerId, state, std::this_thread::get_id()});
    }

    std::mutex mutex;
    std::vector<Started> started;
    std::vector<Ended> ended;
};

TEST(Thread, TheObserverHearsOfStartAndEndOnTheThreadItself)
{
    const auto observer = ebo::makeRef<RecordingObserver>();
    ebo::Thread::setObserver(observer);
    std::thread::id bodyThread;
    BodyThread thread([&](BodyThread&) { bodyThread = std::this_thread::get_id(); }, 0, 42);
    thread.start();
    thread.stop();
    ebo::Thread::setObserver(nullptr);

    ASSERT_EQ(observer->started.size(), 1U);
    EXPECT_EQ(observer->started[0].observerId, 42);
    EXPECT_EQ(observer->started[0].thread, bodyThread);
    ASSERT_EQ(observer->ended.size(), 1U);
    EXPECT_EQ(observer->ended[0].observerId, 42);
    EXPECT_EQ(observer->ended[0].state, ThreadState::kFinished);
    EXPECT_EQ(observer->ended[0].thread, bodyThread);
}

}  // namespace
