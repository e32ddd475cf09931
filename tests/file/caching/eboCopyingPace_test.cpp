#include "file/caching/eboCopyingPace.h"

#include "CopyingRig.h"
#include "support/eventually.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

namespace {

using std::chrono::milliseconds;
using Thread = eboFileCachingThread;

/// A clock by which each block takes as long as the test says, and which notes the rests.
class ScriptedPace : public eboCopyingPace {
public:
    explicit ScriptedPace(std::vector<milliseconds> readings) : readings_(std::move(readings)) {}

    Clock::time_point now() const override
    {
        // Asked before a block and behind it.
        if (calls_++ % 2 == 1)
            time_ += readings_.at((calls_ / 2) - 1);
        return time_;
    }
    void rest(milliseconds time, std::unique_lock<std::mutex>& guard, std::condition_variable& /*wakeUp*/,
              const std::function<bool()>& isOver) override
    {
        EXPECT_TRUE(guard.owns_lock());
        EXPECT_FALSE(isOver());
        rests.push_back(time);
    }

    std::vector<milliseconds> rests;  ///< To be read once the copy is complete.

private:
    const std::vector<milliseconds> readings_;
    mutable std::size_t calls_ = 0;
    mutable Clock::time_point time_;
};

/// Rests until it is told that it is over, however long that takes.
class LongRest : public eboCopyingPace {
public:
    Clock::time_point now() const override { return time_ += std::chrono::hours(1); }
    void rest(milliseconds time, std::unique_lock<std::mutex>& guard, std::condition_variable& wakeUp,
              const std::function<bool()>& isOver) override
    {
        EXPECT_EQ(time, milliseconds(1000));
        isResting = true;
        wasEnded = wakeUp.wait_for(guard, std::chrono::minutes(1), isOver);
    }

    std::atomic<bool> isResting = false;
    std::atomic<bool> wasEnded = false;

private:
    mutable Clock::time_point time_;
};

class CopyingPace : public testsupport::CopyingRig {};

TEST(CopyingPaceRule, ReadingsFrom26MillisecondsCostTenTimesTheirLengthUpToASecond)
{
    const auto restAfter = [](int reading) {
        return eboCopyingPace::restAfter(milliseconds(reading)).count();
    };
    EXPECT_EQ(restAfter(0), 0);
    EXPECT_EQ(restAfter(25), 0);
    EXPECT_EQ(restAfter(26), 260);
    EXPECT_EQ(restAfter(99), 990);
    EXPECT_EQ(restAfter(100), 1000);
    EXPECT_EQ(restAfter(101), 1000);
    EXPECT_EQ(eboCopyingPace::restAfter(milliseconds::max()), milliseconds(1000));
}

TEST_F(CopyingPace, TheCopierRestsAfterEachBlockThatWasSlow)
{
    const auto pace = std::make_shared<ScriptedPace>(std::vector{
        milliseconds(0), milliseconds(25), milliseconds(26), milliseconds(5000), milliseconds(50)});
    begin(pattern(5 * 4096), dir_.path(), pace);
    open();
    ASSERT_TRUE(record_->reaches(Thread::Complete));
    EXPECT_THAT(pace->rests, testing::ElementsAre(milliseconds(260), milliseconds(1000), milliseconds(500)));
}

TEST_F(CopyingPace, ARestEndsWhenTheLastViewCloses)
{
    const auto pace = std::make_shared<LongRest>();
    begin(pattern(5 * 4096), dir_.path(), pace);
    open();
    ASSERT_TRUE(testsupport::eventually([&] { return pace->isResting.load(); }));
    close();
    ASSERT_TRUE(record_->reaches(Thread::Removed));
    EXPECT_TRUE(pace->wasEnded);
}

TEST_F(CopyingPace, ARestEndsWithTheThread)
{
    const auto pace = std::make_shared<LongRest>();
    begin(pattern(5 * 4096), dir_.path(), pace);
    open();
    ASSERT_TRUE(testsupport::eventually([&] { return pace->isResting.load(); }));
    thread_.reset();
    collector_.reset();
    EXPECT_TRUE(pace->wasEnded);
    EXPECT_TRUE(copies().empty());
}

}  // namespace
