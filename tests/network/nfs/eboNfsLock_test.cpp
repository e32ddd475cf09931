#include "network/nfs/eboNfsLock.h"

#include "runtime/refptr.h"
#include "support/eventually.h"
#include "support/repetitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <random>
#include <thread>

namespace {

using Lock = eboFileLock;
using Level = Lock::Level;
using testing::ElementsAre;
using testing::IsEmpty;

Level levelOf(int number) { return static_cast<Level>(number); }

/// The other device: notes what it is asked, and answers as it is told.
class NfsLock : public testing::Test {
protected:
    Lock::LockResult onQuestion(Level level)
    {
        asked_.push_back(level);
        return answer_;
    }

    std::vector<Level> takeAsked() { return std::exchange(asked_, {}); }

    /// Brings a member to a level, whatever questions that takes.
    void bring(eboNfsLockAdapter& adapter, int level)
    {
        ASSERT_EQ(adapter.request(levelOf(level)), Lock::SUCCESS);
        asked_.clear();
    }

    std::vector<Level> asked_;
    Lock::LockResult answer_ = Lock::SUCCESS;
    ebo::refptr<eboNfsLock> group_ =
        ebo::makeRef<eboNfsLock>([this](Level level) { return onQuestion(level); });
    eboNfsLockAdapter* a_ = group_->createAdapter();
    eboNfsLockAdapter* b_ = group_->createAdapter();
    eboNfsLockAdapter* c_ = group_->createAdapter();
};

/// What happens when a member that holds `own` beside others that hold `others` at most asks for `wanted`.
struct Step {
    int own, others, wanted;
    Lock::LockResult result;
    int asked;  ///< Of the device; -1 for nothing.
};

// Every state that two members can be in, with every request.
constexpr Lock::LockResult kYes = Lock::SUCCESS;
constexpr Lock::LockResult kBusy = Lock::BUSY;
constexpr Step kSteps[] = {
    // Alone.
    {0, 0, 0, kYes, -1},
    {0, 0, 1, kYes, 1},
    {0, 0, 2, kYes, 2},
    {0, 0, 3, kYes, 3},
    {1, 0, 0, kYes, 0},
    {1, 0, 1, kYes, -1},
    {1, 0, 2, kYes, 2},
    {1, 0, 3, kYes, 3},
    {2, 0, 0, kYes, 0},
    {2, 0, 1, kYes, 1},
    {2, 0, 2, kYes, -1},
    {2, 0, 3, kYes, 3},
    {3, 0, 0, kYes, 0},
    {3, 0, 1, kYes, 1},
    {3, 0, 2, kYes, 2},
    {3, 0, 3, kYes, -1},
    // Beside a reader.
    {0, 1, 0, kYes, -1},
    {0, 1, 1, kYes, -1},
    {0, 1, 2, kYes, 2},
    {0, 1, 3, kBusy, -1},
    {1, 1, 0, kYes, -1},
    {1, 1, 1, kYes, -1},
    {1, 1, 2, kYes, 2},
    {1, 1, 3, kBusy, -1},
    {2, 1, 0, kYes, 1},
    {2, 1, 1, kYes, 1},
    {2, 1, 2, kYes, -1},
    {2, 1, 3, kBusy, -1},
    // Beside one who is about to write.
    {0, 2, 0, kYes, -1},
    {0, 2, 1, kYes, -1},
    {0, 2, 2, kBusy, -1},
    {0, 2, 3, kBusy, -1},
    {1, 2, 0, kYes, -1},
    {1, 2, 1, kYes, -1},
    {1, 2, 2, kBusy, -1},
    {1, 2, 3, kBusy, -1},
    // Beside a writer.
    {0, 3, 0, kYes, -1},
    {0, 3, 1, kBusy, -1},
    {0, 3, 2, kBusy, -1},
    {0, 3, 3, kBusy, -1},
};

TEST(NfsLockPairs, EveryRequestBesideEveryLevel)
{
    for (const Step& step : kSteps) {
        std::vector<int> asked;
        const auto group = ebo::makeRef<eboNfsLock>([&](Level level) {
            asked.push_back(level);
            return Lock::SUCCESS;
        });
        eboNfsLockAdapter* const other = group->createAdapter();
        eboNfsLockAdapter* const own = group->createAdapter();
        const auto name = testing::Message()
                          << step.own << " beside " << step.others << " wants " << step.wanted;
        // A writer beside others comes about only before they do, and a reader before one about to write.
        ASSERT_EQ(own->request(levelOf(std::min(step.own, 1))), Lock::SUCCESS) << name;
        ASSERT_EQ(other->request(levelOf(step.others)), Lock::SUCCESS) << name;
        ASSERT_EQ(own->request(levelOf(step.own)), Lock::SUCCESS) << name;
        asked.clear();
        EXPECT_EQ(own->request(levelOf(step.wanted)), step.result) << name;
        EXPECT_EQ(asked, step.asked < 0 ? std::vector<int>{} : std::vector<int>{step.asked}) << name;
        EXPECT_EQ(own->level(), step.result == kYes ? step.wanted : step.own) << name;
        EXPECT_EQ(other->level(), step.others) << name;
    }
}

TEST_F(NfsLock, ARefusalLeavesTheLevel)
{
    bring(*a_, 1);
    for (const auto refusal : {Lock::BUSY, Lock::FAILED}) {
        answer_ = refusal;
        EXPECT_EQ(a_->request(Lock::Exclusive), refusal);
        EXPECT_EQ(a_->request(Lock::Unlocked), refusal);
        EXPECT_EQ(a_->level(), Lock::Shared);
    }
}

TEST_F(NfsLock, LevelsThatAreNoneAreNotToBeHad)
{
    bring(*a_, 1);
    EXPECT_EQ(a_->request(levelOf(-1)), Lock::BUSY);
    EXPECT_EQ(a_->request(levelOf(4)), Lock::BUSY);
    EXPECT_EQ(group_->reduce(*a_, levelOf(-1)), Lock::FAILED);
    EXPECT_EQ(a_->level(), Lock::Shared);
    EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(NfsLock, AReductionDoesNotRaise)
{
    bring(*a_, 1);
    EXPECT_EQ(group_->reduce(*a_, Lock::Reserved), Lock::FAILED);
    EXPECT_EQ(group_->reduce(*a_, Lock::Shared), Lock::SUCCESS);
    EXPECT_THAT(asked_, IsEmpty());
    EXPECT_EQ(group_->reduce(*a_, Lock::Unlocked), Lock::SUCCESS);
    EXPECT_THAT(asked_, ElementsAre(Lock::Unlocked));
}

TEST_F(NfsLock, OfThreeTheHighestCounts)
{
    bring(*a_, 1);
    bring(*b_, 2);
    bring(*c_, 1);
    EXPECT_EQ(group_->highestOfOthers(*a_), Lock::Reserved);
    EXPECT_EQ(group_->highestOfOthers(*b_), Lock::Shared);
    EXPECT_EQ(b_->request(Lock::Unlocked), Lock::SUCCESS);
    EXPECT_THAT(takeAsked(), ElementsAre(Lock::Shared));
    EXPECT_EQ(a_->request(Lock::Unlocked), Lock::SUCCESS);
    EXPECT_THAT(takeAsked(), IsEmpty());
    EXPECT_EQ(c_->request(Lock::Unlocked), Lock::SUCCESS);
    EXPECT_THAT(takeAsked(), ElementsAre(Lock::Unlocked));
}

TEST_F(NfsLock, WhoLeavesTakesItsClaimAlong)
{
    bring(*a_, 3);
    group_->leave(a_);
    EXPECT_THAT(asked_, IsEmpty());
    EXPECT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_THAT(asked_, ElementsAre(Lock::Shared));
}

/// A device that takes its time: each question waits until the test answers it.
class SlowNfsLock : public testing::Test {
protected:
    Lock::LockResult onQuestion(Level level)
    {
        asked_ = level;
        isAsked_ = true;
        EXPECT_TRUE(testsupport::eventually([&] { return isAnswered_.exchange(false); }));
        return answer_;
    }
    std::future<Lock::LockResult> request(eboNfsLockAdapter* adapter, Level level)
    {
        return std::async(std::launch::async, [adapter, level] { return adapter->request(level); });
    }
    void expectQuestion(Level level)
    {
        ASSERT_TRUE(testsupport::eventually([&] { return isAsked_.exchange(false); }));
        EXPECT_EQ(asked_, level);
    }
    void answer(Lock::LockResult result)
    {
        answer_ = result;
        isAnswered_ = true;
    }

    std::atomic<bool> isAsked_{false};
    std::atomic<Level> asked_{Lock::Unlocked};
    std::atomic<bool> isAnswered_{false};
    std::atomic<Lock::LockResult> answer_{Lock::FAILED};
    ebo::refptr<eboNfsLock> group_ =
        ebo::makeRef<eboNfsLock>([this](Level level) { return onQuestion(level); });
    eboNfsLockAdapter* a_ = group_->createAdapter();
    eboNfsLockAdapter* b_ = group_->createAdapter();
};

TEST_F(SlowNfsLock, WhatDoesNotDependOnTheAnswerIsSettledMeanwhile)
{
    auto shared = request(a_, Lock::Shared);
    expectQuestion(Lock::Shared);
    answer(Lock::SUCCESS);
    ASSERT_EQ(shared.get(), Lock::SUCCESS);
    auto reserved = request(a_, Lock::Reserved);
    expectQuestion(Lock::Reserved);
    EXPECT_EQ(a_->level(), Lock::Shared);
    EXPECT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(b_->request(Lock::Exclusive), Lock::BUSY);
    EXPECT_EQ(b_->request(Lock::Unlocked), Lock::SUCCESS);
    answer(Lock::SUCCESS);
    EXPECT_EQ(reserved.get(), Lock::SUCCESS);
    EXPECT_EQ(a_->level(), Lock::Reserved);
}

TEST_F(SlowNfsLock, AWriterThatWasGrantedKeepsOutWhoAskedMeanwhile)
{
    auto exclusive = request(a_, Lock::Exclusive);
    expectQuestion(Lock::Exclusive);
    auto shared = request(b_, Lock::Shared);
    EXPECT_EQ(shared.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    answer(Lock::SUCCESS);
    EXPECT_EQ(exclusive.get(), Lock::SUCCESS);
    EXPECT_EQ(shared.get(), Lock::BUSY);
}

TEST_F(SlowNfsLock, AWriterThatWasRefusedLeavesTheQuestionToTheNext)
{
    auto exclusive = request(a_, Lock::Exclusive);
    expectQuestion(Lock::Exclusive);
    auto shared = request(b_, Lock::Shared);
    answer(Lock::BUSY);
    EXPECT_EQ(exclusive.get(), Lock::BUSY);
    expectQuestion(Lock::Shared);
    answer(Lock::SUCCESS);
    EXPECT_EQ(shared.get(), Lock::SUCCESS);
}

TEST_F(SlowNfsLock, AReaderGrantedByTheDeviceGrantsTheNextOne)
{
    auto first = request(a_, Lock::Shared);
    expectQuestion(Lock::Shared);
    auto second = request(b_, Lock::Shared);
    answer(Lock::SUCCESS);
    EXPECT_EQ(first.get(), Lock::SUCCESS);
    EXPECT_EQ(second.get(), Lock::SUCCESS);
    EXPECT_FALSE(isAsked_);
}

TEST(NfsLockTorture, TheDeviceAlwaysKnowsTheHighestLevelAndNoTwoWriteTogether)
{
    constexpr int kThreads = 4;
    const int rounds = testsupport::repetitions(5000);
    std::atomic<Level> atDevice{Lock::Unlocked};
    std::atomic<int> questions{0};
    const auto group = ebo::makeRef<eboNfsLock>([&](Level level) {
        std::this_thread::yield();
        if (level > atDevice && ++questions % 5 == 0)
            return Lock::BUSY;
        atDevice = level;
        return Lock::SUCCESS;
    });
    std::atomic<int> writers{0};
    std::atomic<int> readers{0};
    std::atomic<bool> broken{false};
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i, member = group->createAdapter()] {
            std::mt19937 random(i);
            for (int round = 0; round < rounds; ++round) {
                if (member->request(levelOf(static_cast<int>(random() % 4))) != Lock::SUCCESS)
                    continue;
                const Level held = member->level();
                std::atomic<int>& mine = held == Lock::Exclusive ? writers : readers;
                if (held != Lock::Unlocked)
                    ++mine;
                if (writers > 1 || (writers > 0 && readers > 0) || atDevice < held)
                    broken = true;
                if (held != Lock::Unlocked)
                    --mine;
            }
            member->request(Lock::Unlocked);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(broken);
    EXPECT_EQ(atDevice, Lock::Unlocked);
}

}  // namespace
