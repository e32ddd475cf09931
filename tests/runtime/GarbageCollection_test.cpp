#include "Probe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/destroyNow.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"
#include "support/eventually.h"

#include <boost/thread.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace {

using ebo::GarbageCollection;
using ebo::Irefcounted;
using ebo::makeRef;
using ebo::refptr;
using ebo::weakptr;
using runtimetest::Probe;
using testing::ElementsAre;
using testsupport::eventually;

/// A collector whose inner switches the tests can reach.
class OpenCollector : public GarbageCollection {
public:
    using Thread::changePriority;
    using Thread::requestStop;
    using Thread::stopRequested;
};

void dropObjects(int count)
{
    for (int i = 0; i < count; ++i)
        makeRef<Probe>().reset();
}

TEST(GarbageCollection, IsPublishedForAsLongAsItLives)
{
    EXPECT_EQ(GarbageCollection::instance(), nullptr);
    {
        const GarbageCollection collector;
        EXPECT_EQ(GarbageCollection::instance(), &collector);
    }
    EXPECT_EQ(GarbageCollection::instance(), nullptr);
}

TEST(GarbageCollection, ADroppedObjectWaitsForThePurge)
{
    GarbageCollection collector;
    bool ended = false;
    makeRef<Probe>([&] { ended = true; }).reset();
    EXPECT_FALSE(ended);
    EXPECT_EQ(collector.pendingCount(), 1);
    EXPECT_EQ(collector.purge(false), 1);
    EXPECT_TRUE(ended);
    EXPECT_EQ(collector.pendingCount(), 0);
    EXPECT_EQ(collector.purge(false), 0);
}

TEST(GarbageCollection, ThePurgeEndsTheOldestFirst)
{
    GarbageCollection collector;
    std::vector<int> order;
    for (int i = 0; i < 4; ++i)
        makeRef<Probe>([&order, i] { order.push_back(i); }).reset();
    collector.purge(false);
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(GarbageCollection, WhatAnEndingObjectDropsWaitsForTheNextPurge)
{
    GarbageCollection collector;
    bool innerEnded = false;
    auto inner = makeRef<Probe>([&] { innerEnded = true; });
    makeRef<Probe>([&] { inner.reset(); }).reset();
    EXPECT_EQ(collector.purge(false), 1);
    EXPECT_FALSE(innerEnded);
    EXPECT_EQ(collector.purge(false), 1);
    EXPECT_TRUE(innerEnded);
}

TEST(GarbageCollection, AnObjectReferencedAnewSurvivesItsTurnAndIsQueuedAgainLater)
{
    GarbageCollection collector;
    int ends = 0;
    refptr<Probe> strong = makeRef<Probe>([&] { ++ends; });
    const weakptr<Probe> weak(strong);
    Probe* bare = strong.get();
    strong.reset();
    EXPECT_FALSE(weak.isValid());

    refptr<Probe> revived(bare);
    EXPECT_TRUE(weak.isValid());
    EXPECT_EQ(collector.purge(false), 1);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(revived->referenceCount(), 1U);
    EXPECT_EQ(weak.promote(), revived);

    revived.reset();
    EXPECT_FALSE(weak.isValid());
    EXPECT_EQ(collector.pendingCount(), 1);
    EXPECT_EQ(collector.purge(false), 1);
    EXPECT_EQ(ends, 1);
}

TEST(GarbageCollection, ANewReferenceThatGoesBeforeTheTurnChangesNothing)
{
    GarbageCollection collector;
    int ends = 0;
    refptr<Probe> strong = makeRef<Probe>([&] { ++ends; });
    Probe* bare = strong.get();
    strong.reset();
    refptr<Probe>(bare).reset();
    EXPECT_EQ(collector.pendingCount(), 1);
    collector.purge(false);
    EXPECT_EQ(ends, 1);
}

TEST(GarbageCollection, The102ndWaitingObjectRaisesTheLevelOnceAndThePurgeLowersIt)
{
    OpenCollector collector;
    dropObjects(101);
    EXPECT_EQ(collector.priority(), 0);
    dropObjects(1);
    EXPECT_EQ(collector.priority(), 5);
    collector.changePriority(3);
    dropObjects(20);
    EXPECT_EQ(collector.priority(), 3) << "the backlog was new only once";
    collector.purge(false);
    EXPECT_EQ(collector.priority(), 0);
    dropObjects(102);
    EXPECT_EQ(collector.priority(), 5) << "the next backlog is new again";
}

TEST(GarbageCollection, APurgeWithoutBacklogLeavesTheLevelAlone)
{
    OpenCollector collector;
    collector.changePriority(3);
    dropObjects(101);
    collector.purge(false);
    EXPECT_EQ(collector.priority(), 3);
}

TEST(GarbageCollection, ADelayedPurgeLetsAFreshObjectRestForATenthOfASecond)
{
    OpenCollector collector;
    dropObjects(1);
    const auto begin = std::chrono::steady_clock::now();
    collector.purge(true);
    // A sleep is never shorter than asked for; the object's age is taken off, in processor time, of which
    // next to none goes by.
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(80));
}

TEST(GarbageCollection, AStopRequestTakesTheRestFromADelayedPurge)
{
    OpenCollector collector;
    collector.requestStop();
    // Were each of these to rest for its 100 ms, this would run into the test's time limit.
    int ends = 0;
    for (int i = 0; i < 10000; ++i)
        makeRef<Probe>([&] { ++ends; }).reset();
    EXPECT_EQ(collector.purge(true), 1);
    EXPECT_EQ(ends, 10000);
}

TEST(GarbageCollection, AnInterruptionTakesTheRestFromThisObjectAndAllAfterIt)
{
    OpenCollector collector;
    std::atomic<int> ends{0};
    for (int i = 0; i < 10000; ++i)
        makeRef<Probe>([&] { ++ends; }).reset();
    boost::thread purging([&] { collector.purge(true); });
    purging.interrupt();
    purging.join();
    EXPECT_EQ(ends, 10000);
    EXPECT_TRUE(collector.stopRequested());
}

TEST(GarbageCollection, ObjectsEndOnTheCollectorsThread)
{
    std::promise<std::thread::id> endedOn;
    GarbageCollection collector;
    collector.start();
    makeRef<Probe>([&] { endedOn.set_value(std::this_thread::get_id()); }).reset();
    auto result = endedOn.get_future();
    ASSERT_EQ(result.wait_for(std::chrono::minutes(1)), std::future_status::ready);
    EXPECT_NE(result.get(), std::this_thread::get_id());
}

TEST(GarbageCollection, ABacklogOnARunningCollectorIsWorkedOffInOrder)
{
    std::vector<int> order;
    {
        GarbageCollection collector;
        collector.start();
        for (int i = 0; i < 300; ++i)
            makeRef<Probe>([&order, i] { order.push_back(i); }).reset();
    }
    ASSERT_EQ(order.size(), 300U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(GarbageCollection, NothingThatManyThreadsDropIsLost)
{
    constexpr int kThreads = 4;
    constexpr int kObjects = 500;
    std::atomic<int> ends{0};
    {
        GarbageCollection collector;
        collector.start();
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([&] {
                for (int object = 0; object < kObjects; ++object)
                    makeRef<Probe>([&] { ++ends; }).reset();
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(ends, kThreads * kObjects);
}

TEST(GarbageCollection, ItsEndEndsAllThatIsLeft)
{
    int ends = 0;
    {
        const GarbageCollection collector;
        makeRef<Probe>([&] { ++ends; }).reset();
        EXPECT_EQ(ends, 0);
    }
    EXPECT_EQ(ends, 1);
}

TEST(GarbageCollection, WhatDropsWhileItIsDyingEndsAtOnceOnTheDroppingThread)
{
    std::vector<std::string> events;
    std::thread::id droppedOn;
    std::thread::id endedOn;
    {
        const GarbageCollection collector;
        auto inner = makeRef<Probe>([&] {
            events.emplace_back("inner ends");
            endedOn = std::this_thread::get_id();
        });
        makeRef<Probe>([&events, &droppedOn, inner = std::move(inner)]() mutable {
            events.emplace_back("outer begins to end");
            std::thread dropping([&] { inner.reset(); });
            droppedOn = dropping.get_id();
            dropping.join();
            events.emplace_back("outer ends");
        }).reset();
    }
    EXPECT_THAT(events, ElementsAre("outer begins to end", "inner ends", "outer ends"));
    EXPECT_EQ(endedOn, droppedOn);
}

TEST(GarbageCollection, WithoutACollectorADroppedObjectEndsAtOnce)
{
    std::thread::id endedOn;
    makeRef<Probe>([&] { endedOn = std::this_thread::get_id(); }).reset();
    EXPECT_EQ(endedOn, std::this_thread::get_id());
}

TEST(GarbageCollection, ItsThreadCanBeStoppedAndStartedAgain)
{
    std::atomic<int> ends{0};
    GarbageCollection collector;
    collector.start();
    collector.stop();
    makeRef<Probe>([&] { ++ends; }).reset();
    collector.start();
    EXPECT_TRUE(eventually([&] { return ends == 1; }));
}

TEST(DestroyNow, OfNothingDoesNothing)
{
    Irefcounted* slot = nullptr;
    EXPECT_FALSE(ebo::destroyNow(slot, true));
}

TEST(DestroyNow, TakesOnlyTheSlotsCountFromAnObjectThatIsReferencedElsewhere)
{
    bool ended = false;
    const refptr<Probe> other = makeRef<Probe>([&] { ended = true; });
    Irefcounted* slot = refptr<Probe>(other).detach();
    EXPECT_FALSE(ebo::destroyNow(slot, true));
    EXPECT_EQ(slot, nullptr);
    EXPECT_FALSE(ended);
    EXPECT_EQ(other->referenceCount(), 1U);
}

TEST(DestroyNow, EndsTheObjectWithTheLastCount)
{
    bool ended = false;
    Irefcounted* slot = makeRef<Probe>([&] { ended = true; }).detach();
    EXPECT_TRUE(ebo::destroyNow(slot, false));
    EXPECT_EQ(slot, nullptr);
    EXPECT_TRUE(ended);
}

}  // namespace
