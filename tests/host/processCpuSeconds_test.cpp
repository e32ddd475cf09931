#include "host/processCpuSeconds.h"

#include <gtest/gtest.h>

#include <ctime>
#include <thread>
#include <unistd.h>

namespace {

using tunesift::host::processCpuSeconds;

double ownCpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

TEST(ProcessCpuSeconds, AgreesWithWhatTheProcessSaysOfItself)
{
    const double before = ownCpuSeconds();
    const auto seen = processCpuSeconds(getpid());
    const double after = ownCpuSeconds();
    ASSERT_TRUE(seen);
    constexpr double kClockStep = 1e-6;
    EXPECT_GE(*seen, before - kClockStep);
    EXPECT_LE(*seen, after + kClockStep);
}

TEST(ProcessCpuSeconds, CountsThreadsThatHaveEnded)
{
    constexpr double kWork = 0.05;
    const double before = processCpuSeconds(getpid()).value();
    std::thread([] {
        timespec now{};
        do
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        while (now.tv_sec == 0 && now.tv_nsec < 50'000'000);
    }).join();
    EXPECT_GE(processCpuSeconds(getpid()).value() - before, kWork);
}

TEST(ProcessCpuSeconds, OfNoProcessIsNothing)
{
    EXPECT_FALSE(processCpuSeconds(0));
    EXPECT_FALSE(processCpuSeconds(-1));
}

}  // namespace
