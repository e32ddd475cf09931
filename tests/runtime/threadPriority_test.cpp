#include "runtime/threadPriority.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>
#include <sched.h>
#include <string>
#include <thread>

namespace {

using ebo::Scheduling;
using ebo::schedulingFor;

TEST(ThreadPriority, LevelsUpToEightAreBatch)
{
    for (int level = -3; level <= 8; ++level)
        EXPECT_EQ(schedulingFor(level, 1, 99), (Scheduling{SCHED_BATCH, 0})) << "level " << level;
}

TEST(ThreadPriority, HigherLevelsAreRealTimeUpToFortyNine)
{
    EXPECT_EQ(schedulingFor(9, 1, 99), (Scheduling{SCHED_FIFO, 41}));
    EXPECT_EQ(schedulingFor(10, 1, 99), (Scheduling{SCHED_FIFO, 45}));
    EXPECT_EQ(schedulingFor(11, 1, 99), (Scheduling{SCHED_FIFO, 49}));
    EXPECT_EQ(schedulingFor(12, 1, 99), (Scheduling{SCHED_FIFO, 49}));
    EXPECT_EQ(schedulingFor(2147483647, 1, 99), (Scheduling{SCHED_FIFO, 49}));
}

TEST(ThreadPriority, SystemLimitsBindBothWays)
{
    EXPECT_EQ(schedulingFor(9, 1, 32), (Scheduling{SCHED_FIFO, 27}));
    EXPECT_EQ(schedulingFor(11, 1, 32), (Scheduling{SCHED_FIFO, 32}));
    EXPECT_EQ(schedulingFor(9, 45, 99), (Scheduling{SCHED_FIFO, 45}));
}

TEST(ThreadPriority, EachErrorHasItsText)
{
    EXPECT_EQ(ebo::priorityFailureText(ESRCH), std::string("No thread with the ID thread could be found."));
    EXPECT_EQ(ebo::priorityFailureText(EINVAL),
              std::string("policy is not a recognized policy, or param does not make sense for the policy."));
    EXPECT_EQ(ebo::priorityFailureText(EPERM),
              std::string("The caller does not have appropriate privileges to set the specified scheduling "
                          "policy and parameters."));
    EXPECT_EQ(
        ebo::priorityFailureText(ENOTSUP),
        std::string("tempt was made to set the policy or scheduling parameters to an unsupported value"));
    EXPECT_EQ(ebo::priorityFailureText(ENOMEM), std::string("Failed to set thread priority"));
}

TEST(ThreadPriority, AnEmptyHandleMeansTheCallingThread)
{
    std::thread([] {
        ebo::setThreadPriority(pthread_t{}, 0);
        EXPECT_EQ(sched_getscheduler(0), SCHED_BATCH);
    }).join();
}

TEST(ThreadPriority, AHandleMeansThatThreadAlone)
{
    std::promise<void> mayLook;
    std::promise<int> policy;
    std::thread other([&] {
        mayLook.get_future().wait();
        policy.set_value(sched_getscheduler(0));
    });
    const int ownPolicy = sched_getscheduler(0);
    ebo::setThreadPriority(other.native_handle(), 8);
    mayLook.set_value();
    EXPECT_EQ(policy.get_future().get(), SCHED_BATCH);
    EXPECT_EQ(sched_getscheduler(0), ownPolicy);
    other.join();
}

}  // namespace
