#include "Probe.h"

#include "runtime/WeakRecord.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using runtimetest::Probe;

TEST(Refcounted, NewObjectIsOwnedByNobody)
{
    const Probe probe;
    EXPECT_EQ(probe.referenceCount(), 0U);
}

TEST(Refcounted, CountingOperationsReturnTheOldValue)
{
    Probe probe;
    EXPECT_EQ(probe.incrementCount(), 0U);
    EXPECT_EQ(probe.incrementCount(), 1U);
    EXPECT_EQ(probe.decrementCount(), 2U);
    EXPECT_EQ(probe.decrementCount(), 1U);
}

TEST(Refcounted, DecrementToZeroDestroysNothing)
{
    bool ended = false;
    {
        Probe probe([&] { ended = true; });
        probe.ref();
        probe.decrementCount();
        EXPECT_FALSE(ended);
    }
}

TEST(Refcounted, UnrefOfTheLastCountDestroysAtOnceOnTheCallingThread)
{
    std::thread::id endedOn;
    auto* probe = new Probe([&] { endedOn = std::this_thread::get_id(); });
    probe->ref();
    probe->ref();
    probe->unref();
    EXPECT_EQ(endedOn, std::thread::id());
    probe->unref();
    EXPECT_EQ(endedOn, std::this_thread::get_id());
}

TEST(Refcounted, OnlyTheLastCountIsNotDropped)
{
    Probe probe;
    probe.ref();
    probe.ref();
    EXPECT_TRUE(probe.dropUnlessLast());
    EXPECT_FALSE(probe.dropUnlessLast());
    EXPECT_EQ(probe.referenceCount(), 1U);
    probe.decrementCount();
}

TEST(Refcounted, WeakRecordOutlivesItsObject)
{
    ebo::WeakRecord* record = nullptr;
    {
        Probe probe;
        record = probe.weakRecord();
        EXPECT_TRUE(record->isAlive());
    }
    EXPECT_FALSE(record->isAlive());
    EXPECT_FALSE(record->promote());
    record->letGo();
}

TEST(Refcounted, NoCountIsLostBetweenThreads)
{
    const int rounds = testsupport::repetitions(20000);
    Probe probe;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                probe.ref();
                probe.incrementCount();
                probe.decrementCount();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(probe.referenceCount(), 4U * static_cast<unsigned>(rounds));
    while (probe.decrementCount() != 1) {
    }
}

TEST(Refcounted, ExactlyOneOfManyUnrefsDestroys)
{
    for (int round = 0; round < testsupport::repetitions(300); ++round) {
        std::atomic<int> ends{0};
        auto* probe = new Probe([&] { ++ends; });
        std::vector<std::thread> threads;
        threads.reserve(3);
        for (int i = 0; i < 3; ++i)
            probe->ref();
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([probe] { probe->unref(); });
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_EQ(ends, 1);
    }
}

}  // namespace
