// Where a counted QObject is destroyed: on its own thread while that runs, else by whoever ends it.

#include "LoopThread.h"
#include "QtProbe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/deferredDeletions.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"
#include "support/eventually.h"

#include <QCoreApplication>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using ebo::weakptr;
using runtimetest::LoopThread;
using runtimetest::QtProbe;
using testsupport::eventually;

/// Where and whether a probe has ended.
struct End {
    std::atomic<QThread*> thread{nullptr};

    [[nodiscard]] bool happened() const { return thread != nullptr; }
    std::function<void()> recorder()
    {
        return [this] { thread = QThread::currentThread(); };
    }
};

refptr<QtProbe> probeOn(QThread* home, End& end)
{
    auto probe = makeRef<QtProbe>(end.recorder());
    probe->moveToThread(home);
    return probe;
}

class QtObjectEnd : public testing::TestWithParam<bool> {};

TEST_P(QtObjectEnd, OnAnotherRunningThreadIsLeftToThatThread)
{
    GarbageCollection collector;
    End end;
    LoopThread other;
    probeOn(other.get(), end).reset();
    collector.purge(GetParam());
    other.end();
    EXPECT_EQ(end.thread, other.get());
}

TEST_P(QtObjectEnd, OnAThreadThatHasEndedIsDirect)
{
    GarbageCollection collector;
    End end;
    LoopThread other;
    auto probe = probeOn(other.get(), end);
    other.end();
    probe.reset();
    collector.purge(GetParam());
    EXPECT_EQ(end.thread, QThread::currentThread());
}

TEST_P(QtObjectEnd, OnAThreadThatNeverRanIsDirect)
{
    GarbageCollection collector;
    End end;
    QThread neverStarted;
    probeOn(&neverStarted, end).reset();
    collector.purge(GetParam());
    EXPECT_EQ(end.thread, QThread::currentThread());
}

TEST_P(QtObjectEnd, WithoutAThreadIsDirect)
{
    GarbageCollection collector;
    End end;
    probeOn(nullptr, end).reset();
    collector.purge(GetParam());
    EXPECT_EQ(end.thread, QThread::currentThread());
}

TEST_P(QtObjectEnd, OnTheCallingThreadIsDirect)
{
    GarbageCollection collector;
    End end;
    probeOn(QThread::currentThread(), end).reset();
    collector.purge(GetParam());
    EXPECT_EQ(end.thread, QThread::currentThread());
}

INSTANTIATE_TEST_SUITE_P(DelayedOrNot, QtObjectEnd, testing::Bool());

TEST(QtObjectEndOfTheMainThread, IsLeftToTheMainThreadByADelayedPurge)
{
    GarbageCollection collector;
    End end;
    probeOn(QThread::currentThread(), end).reset();
    std::thread([&] { collector.purge(true); }).join();
    EXPECT_FALSE(end.happened());
    ebo::deliverDeferredDeletions();
    EXPECT_EQ(end.thread, QThread::currentThread());
}

TEST(QtObjectEndOfTheMainThread, IsDirectInAPurgeWithoutDelay)
{
    GarbageCollection collector;
    End end;
    probeOn(QThread::currentThread(), end).reset();
    QThread* purgedOn = nullptr;
    std::thread([&] {
        purgedOn = QThread::currentThread();
        collector.purge(false);
    }).join();
    EXPECT_EQ(end.thread, purgedOn);
    EXPECT_NE(end.thread, QThread::currentThread());
}

TEST(QtObjectEndOnTheRunningCollector, OfAThreadThatHasEndedHappensOnTheCollectorsOwnThread)
{
    std::promise<QString> endedOn;
    GarbageCollection collector;
    collector.start();
    LoopThread other;
    auto probe = makeRef<QtProbe>([&] { endedOn.set_value(QThread::currentThread()->objectName()); });
    probe->moveToThread(other.get());
    other.end();
    probe.reset();
    EXPECT_EQ(endedOn.get_future().get(), QStringLiteral("Garbage"));
}

TEST(QtObjectEndOnTheRunningCollector, OfAnotherRunningThreadHappensThere)
{
    End end;
    LoopThread other;
    GarbageCollection collector;
    collector.start();
    probeOn(other.get(), end).reset();
    EXPECT_TRUE(eventually([&] { return end.happened(); }));
    EXPECT_EQ(end.thread, other.get());
}

TEST(QtObjectEndOnTheRunningCollector, OfTheMainThreadHappensInItsEventLoop)
{
    End end;
    GarbageCollection collector;
    collector.start();
    probeOn(QThread::currentThread(), end).reset();
    EXPECT_TRUE(eventually([&] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return end.happened();
    }));
    EXPECT_EQ(end.thread, QThread::currentThread());
}

TEST(QtObjectEndByDeferredDeletion, CannotBePromotedInBetween)
{
    GarbageCollection collector;
    End end;
    auto probe = probeOn(QThread::currentThread(), end);
    const weakptr<QtProbe> weak(probe);
    probe.reset();
    std::thread([&] { collector.purge(true); }).join();
    ASSERT_FALSE(end.happened());
    EXPECT_FALSE(weak.isValid());
    EXPECT_EQ(weak.promote(), nullptr);
    ebo::deliverDeferredDeletions();
    EXPECT_TRUE(end.happened());
}

TEST(QtObjectEndByDeferredDeletion, IsDeliveredUntilNoneIsLeft)
{
    End first;
    End second;
    auto* inner = new QObject;
    QObject::connect(inner, &QObject::destroyed, second.recorder());
    auto* outer = new QObject;
    QObject::connect(outer, &QObject::destroyed, [&] {
        first.recorder()();
        inner->deleteLater();
    });
    outer->deleteLater();
    ebo::deliverDeferredDeletions();
    EXPECT_TRUE(first.happened());
    EXPECT_TRUE(second.happened());
}

TEST(QtObjectEndAtTheCollectorsEnd, LeavesNothingOfTheMainThreadBehind)
{
    End inner;
    End outer;
    {
        GarbageCollection collector;
        auto held = probeOn(QThread::currentThread(), inner);
        auto probe = makeRef<QtProbe>([&outer, held = std::move(held)]() mutable {
            outer.recorder()();
            held.reset();
        });
        probe.reset();
        std::thread([&] { collector.purge(true); }).join();
        ASSERT_FALSE(outer.happened()) << "deferred to the main thread so far";
    }
    EXPECT_EQ(outer.thread, QThread::currentThread());
    EXPECT_EQ(inner.thread, QThread::currentThread());
}

TEST(QtObjectEndAtTheCollectorsEnd, LeavesObjectsOfRunningThreadsToThem)
{
    End end;
    LoopThread other;
    {
        const GarbageCollection collector;
        probeOn(other.get(), end).reset();
    }
    other.end();
    EXPECT_EQ(end.thread, other.get());
}

}  // namespace
