#include "network/exchange/ThreadCalls.h"

#include "runtime/LoopThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

using eboNetworkExchange::ThreadCalls;
using runtimetest::LoopThread;

struct ThreadCallsTest : testing::Test {
    ThreadCallsTest() { there_.moveToThread(loop_.get()); }
    ~ThreadCallsTest() override { loop_.end(); }

    LoopThread loop_;
    QObject there_;
    std::shared_ptr<ThreadCalls> calls_ = std::make_shared<ThreadCalls>();
};

TEST_F(ThreadCallsTest, RunTheFunctionOnTheOtherThreadBeforeTheyReturn)
{
    QThread* ranOn = nullptr;
    EXPECT_TRUE(calls_->call(&there_, [&ranOn] { ranOn = QThread::currentThread(); }));
    EXPECT_EQ(ranOn, loop_.get());
}

TEST_F(ThreadCallsTest, FailWithoutRunningOnceTheyAreClosed)
{
    calls_->close();
    bool ran = false;
    EXPECT_FALSE(calls_->call(&there_, [&ran] { ran = true; }));
    EXPECT_FALSE(calls_->isOpen());
    loop_.end();
    EXPECT_FALSE(ran);
}

TEST_F(ThreadCallsTest, ThatComeTooLateEndTheWaitAndNeverRun)
{
    // The loop is busy until the calls are closed, so that the caller waits for its turn.
    std::promise<void> busy;
    std::promise<void> callerMayCome;
    std::promise<void> mayClose;
    QMetaObject::invokeMethod(
        &there_,
        [&] {
            busy.set_value();
            mayClose.get_future().wait();
            calls_->close();
        },
        Qt::QueuedConnection);
    busy.get_future().wait();
    std::atomic<bool> ran{false};
    auto caller = std::async(std::launch::async, [&] {
        callerMayCome.set_value();
        return calls_->call(&there_, [&ran] { ran = true; });
    });
    callerMayCome.get_future().wait();
    mayClose.set_value();
    EXPECT_FALSE(caller.get());
    loop_.end();
    EXPECT_FALSE(ran);
}

TEST_F(ThreadCallsTest, OfManyThreadsAllEndWhenTheLoopEnds)
{
    constexpr int kCallers = 8;
    std::atomic<int> succeeded{0};
    std::atomic<int> counted{0};
    std::vector<std::thread> callers;
    callers.reserve(kCallers);
    for (int i = 0; i < kCallers; ++i) {
        callers.emplace_back([&] {
            while (calls_->call(&there_, [&counted] { ++counted; }))
                ++succeeded;
        });
    }
    while (succeeded < 1000)
        std::this_thread::yield();
    QMetaObject::invokeMethod(
        &there_, [this] { calls_->close(); }, Qt::BlockingQueuedConnection);
    loop_.end();
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(succeeded, counted);
}

}  // namespace
