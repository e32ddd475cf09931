#include "key/OutputClock.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

namespace {

TEST(OutputClock, IsExactAfterDays)
{
    // 8192 outputs a second of 44100 frames, whatever steps the time is gone through in.
    OutputClock clock(44100, 8192);
    std::int64_t outputs = 0;
    for (std::int64_t step = 1; outputs < 8192LL * 86400 * 3; step = step % 4099 + 1) {
        clock.advance(step);
        outputs += step;
    }
    EXPECT_EQ(clock.frame(), outputs * 44100 / 8192);
    EXPECT_EQ(clock.phase() * 4, outputs * 44100 % 8192);
    EXPECT_EQ(clock.phases(), 2048);
}

TEST(OutputClock, CountsTheOutputsBeforeAFrame)
{
    for (const int outputRate : {8192, 44100, 48000, 1})
        for (const int inputRate : {8192, 44100, 48000, 7}) {
            OutputClock clock(inputRate, outputRate);
            clock.advance(5);
            for (const std::int64_t ahead : {-1, 0, 1, 2, 100}) {
                const std::int64_t end = clock.frame() + ahead;
                OutputClock step = clock;
                std::int64_t counted = 0;
                for (; step.frame() < end; step.advance(1))
                    ++counted;
                EXPECT_EQ(clock.outputsBefore(end), counted) << inputRate << " to " << outputRate;
            }
        }
}

TEST(OutputClock, RebasingMovesTheFrameAlone)
{
    OutputClock clock(44100, 8192);
    clock.advance(3);
    const std::int64_t phase = clock.phase();
    clock.rebase(20);
    EXPECT_EQ(clock.frame(), 16 - 20);  // 3 * 44100 / 8192 = 16.1
    EXPECT_EQ(clock.phase(), phase);
}

TEST(OutputClock, TheLargestRatesDoNotOverflow)
{
    OutputClock clock(INT_MAX, INT_MAX - 1);
    clock.advance(INT_MAX - 1);
    EXPECT_EQ(clock.frame(), INT_MAX);
    EXPECT_EQ(clock.phase(), 0);
    EXPECT_EQ(clock.outputsBefore(clock.frame() + (1 << 20)), 1 << 20);
}

}  // namespace
