#include "runtime/freeze/Controller.h"
#include "runtime/freeze/FreezeChecker.h"
#include "runtime/freeze/TimerProbe.h"

#include "runtime/LoopThread.h"
#include "support/eventually.h"

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace {

using eboFreezeDetector::Controller;
using eboFreezeDetector::FreezeChecker;
using eboFreezeDetector::Probe;
using eboFreezeDetector::ProbePtr;
using eboFreezeDetector::TimerProbe;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::eventually;

constexpr int kMinuteMilliseconds = 60000;
constexpr int kChecksPerMinute = 60;

/// A checker whose every second is told by the test.
struct FreezeCheckerTest : testing::Test {
    ProbePtr add(int timeOutMilliseconds = kMinuteMilliseconds)
    {
        auto probe = std::make_shared<Probe>(timeOutMilliseconds);
        checker_.addProbe(probe);
        return probe;
    }

    void check(int times)
    {
        for (int i = 0; i < times; ++i)
            checker_.onCheckInterval();
    }

    std::vector<std::vector<ProbePtr>> reports_;
    FreezeChecker checker_{[this](const std::vector<ProbePtr>& frozen) { reports_.push_back(frozen); }};
};

TEST_F(FreezeCheckerTest, AFreshProbeCountsAsChangedAtItsFirstCheck)
{
    check(1000);
    add();
    check(1 + kChecksPerMinute);
    EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(FreezeCheckerTest, StandstillOfTheTimeOutIsAllowedAndOfMoreIsNot)
{
    const ProbePtr probe = add();
    check(1);
    check(kChecksPerMinute);
    EXPECT_THAT(reports_, IsEmpty());
    check(1);
    EXPECT_THAT(reports_, ElementsAre(ElementsAre(probe)));
}

TEST_F(FreezeCheckerTest, OneTickStartsTheTimeAnew)
{
    const ProbePtr probe = add();
    for (int minute = 0; minute < 5; ++minute) {
        check(kChecksPerMinute);
        probe->tick();
    }
    check(1 + kChecksPerMinute);
    EXPECT_THAT(reports_, IsEmpty());
}

TEST_F(FreezeCheckerTest, AllFrozenProbesAreReportedTogether)
{
    const ProbePtr first = add();
    const ProbePtr alive = add();
    const ProbePtr second = add();
    for (int i = 0; i < kChecksPerMinute + 2; ++i) {
        alive->tick();
        check(1);
    }
    EXPECT_THAT(reports_, ElementsAre(ElementsAre(first, second)));
}

TEST_F(FreezeCheckerTest, EachProbeHasItsOwnTimeOut)
{
    const ProbePtr quick = add(2000);
    add();
    check(4);
    EXPECT_THAT(reports_, ElementsAre(ElementsAre(quick)));
}

TEST_F(FreezeCheckerTest, ARemovedProbeIsLeftAlone)
{
    const ProbePtr probe = add(0);
    check(1);
    checker_.removeProbe(probe);
    check(10);
    EXPECT_THAT(reports_, IsEmpty());
}

TEST(TimerProbe, IsNamedAfterItsThread)
{
    const TimerProbe probe(QStringLiteral("Network"), kMinuteMilliseconds);
    EXPECT_EQ(probe.objectName(), QStringLiteral("Network_probe"));
    EXPECT_EQ(probe.thread(), QThread::currentThread());
}

TEST(Controller, IsOneForTheProcess) { EXPECT_EQ(Controller::instance(), Controller::instance()); }

TEST(Controller, TakesBackAProbeThatWasNeverDelivered)
{
    Controller controller;
    const auto probe = std::make_shared<Probe>(0);
    controller.addProbe(probe);
    EXPECT_EQ(probe.use_count(), 2);
    controller.removeProbe(probe);
    EXPECT_EQ(probe.use_count(), 1);
}

TEST(Controller, ReportsAThreadThatStandsStill)
{
    std::atomic<bool> reported{false};
    const auto probe = std::make_shared<Probe>(0);
    Controller controller([&](const std::vector<ProbePtr>& frozen) {
        EXPECT_THAT(frozen, ElementsAre(probe));
        reported = true;
    });
    controller.addProbe(probe);
    controller.start();
    EXPECT_TRUE(eventually([&reported] { return reported.load(); }));
}

TEST(Controller, LetsGoOfARemovedProbe)
{
    const auto probe = std::make_shared<Probe>(kMinuteMilliseconds);
    Controller controller([](const auto&) {});
    controller.start();
    controller.addProbe(probe);
    controller.removeProbe(probe);
    EXPECT_TRUE(eventually([&probe] { return probe.use_count() == 1; }));
}

class FreezeDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

[[noreturn]] void freezeAThread()
{
    Controller controller;
    runtimetest::LoopThread loop;
    QObject there;
    there.moveToThread(loop.get());
    std::mutex mutex;
    std::condition_variable never;
    QMetaObject::invokeMethod(
        &there,
        [&] {
            controller.addProbe(std::make_shared<TimerProbe>(QStringLiteral("Network"), 1000));
            controller.start();
            std::unique_lock lock(mutex);
            never.wait(lock, [] { return false; });
        },
        Qt::QueuedConnection);
    for (;;)
        loop.get()->wait();
}

TEST_F(FreezeDeathTest, AFrozenThreadIsNamedAndEndsTheProcess)
{
    EXPECT_DEATH(freezeAThread(),
                 "probes have frozen:\n(.*\n)*\\* \"Network_probe\"\n(.*\n)*Terminating application");
}

TEST(TimerProbe, OfALiveLoopIsNotFoundFrozen)
{
    TimerProbe probe(QStringLiteral("Loop"), kMinuteMilliseconds);
    qint64 clock = 0;
    (void)probe.takeNote(clock);
    const auto isFoundFrozen = [&] { return probe.takeNote(clock += 1 + kMinuteMilliseconds); };
    EXPECT_TRUE(isFoundFrozen()) << "while the loop does not go round";
    EXPECT_TRUE(eventually([&] {
        QCoreApplication::processEvents();
        return !isFoundFrozen();
    }));
}

}  // namespace
