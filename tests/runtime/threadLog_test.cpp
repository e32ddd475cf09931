#include "BodyThread.h"

#include "support/LogCapture.h"
#include "support/eventually.h"

#include <boost/thread.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <typeinfo>

namespace {

using ebo::ThreadState;
using runtimetest::BodyThread;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testsupport::eventually;
using testsupport::LogCapture;

TEST(ThreadLog, StopOnItsOwnThreadIsToldAndReturnsTrueWithoutJoining)
{
    const LogCapture log;
    std::promise<bool> result;
    std::promise<void> mayEnd;
    BodyThread thread([&](BodyThread& self) {
        result.set_value(self.stop());
        mayEnd.get_future().wait();
    });
    thread.start();
    EXPECT_TRUE(result.get_future().get());
    EXPECT_EQ(thread.state(), ThreadState::kRunning);
    EXPECT_THAT(log.texts(),
                ElementsAre(AllOf(StartsWith("caught exception stopping the thread"),
                                  HasSubstr(typeid(BodyThread).name()), HasSubstr("trying joining itself"))));
    mayEnd.set_value();
    thread.stop();
    EXPECT_EQ(thread.state(), ThreadState::kStopped);
}

TEST(ThreadLog, AnExceptionEndsOnlyItsThreadAndIsToldAsAWarning)
{
    const LogCapture log;
    BodyThread thread([](BodyThread&) { throw std::runtime_error("out of tune"); });
    thread.start();
    EXPECT_TRUE(eventually([&] { return thread.state() == ThreadState::kFinished; }));
    thread.stop();
    ASSERT_THAT(log.texts(), ElementsAre("general exception in _run()"));
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
}

TEST(ThreadLog, SomethingThatIsNoExceptionIsCaughtAsWell)
{
    const LogCapture log;
    BodyThread thread([](BodyThread&) { throw 42; });
    thread.start();
    thread.stop();
    EXPECT_THAT(log.texts(), ElementsAre("general exception in _run()"));
}

TEST(ThreadLog, AnInterruptionEndsTheBodyInSilence)
{
    const LogCapture log;
    BodyThread thread([](BodyThread&) { throw boost::thread_interrupted(); });
    thread.start();
    EXPECT_TRUE(eventually([&] { return thread.state() == ThreadState::kFinished; }));
    thread.stop();
    EXPECT_THAT(log.texts(), IsEmpty());
}

}  // namespace
