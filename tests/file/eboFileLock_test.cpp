#include "file/eboFileLock.h"

#include "file/eboFileMasterLock.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using Lock = eboFileLock;

class FileLock : public testing::Test {
protected:
    std::shared_ptr<eboFileMasterLock> master_ = std::make_shared<eboFileMasterLock>();
    std::shared_ptr<Lock> a_ = master_->createLock();
    std::shared_ptr<Lock> b_ = master_->createLock();
};

TEST_F(FileLock, ANewOneClaimsNothing) { EXPECT_EQ(a_->level(), Lock::Unlocked); }

TEST_F(FileLock, AloneEveryLevelIsGranted)
{
    for (const auto level : {Lock::Shared, Lock::Reserved, Lock::Exclusive}) {
        EXPECT_EQ(a_->request(level), Lock::SUCCESS) << "level " << level;
        EXPECT_EQ(a_->level(), level);
    }
}

TEST_F(FileLock, OfTwoReadersOneMayPrepareToWrite)
{
    ASSERT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    ASSERT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(a_->request(Lock::Reserved), Lock::SUCCESS);
    EXPECT_EQ(b_->request(Lock::Reserved), Lock::BUSY);
    EXPECT_EQ(b_->level(), Lock::Shared);
}

TEST_F(FileLock, AReaderMayJoinWhoPreparesToWrite)
{
    ASSERT_EQ(a_->request(Lock::Reserved), Lock::SUCCESS);
    EXPECT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
}

TEST_F(FileLock, NobodyWritesWhileAnotherReads)
{
    ASSERT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    ASSERT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(a_->request(Lock::Exclusive), Lock::BUSY);
    EXPECT_EQ(a_->level(), Lock::Shared);
}

TEST_F(FileLock, NobodyWritesWhileAnotherPreparesTo)
{
    ASSERT_EQ(a_->request(Lock::Reserved), Lock::SUCCESS);
    EXPECT_EQ(b_->request(Lock::Exclusive), Lock::BUSY);
}

TEST_F(FileLock, AWriterShutsOutEverybody)
{
    ASSERT_EQ(a_->request(Lock::Exclusive), Lock::SUCCESS);
    for (const auto level : {Lock::Shared, Lock::Reserved, Lock::Exclusive})
        EXPECT_EQ(b_->request(level), Lock::BUSY) << "level " << level;
}

TEST_F(FileLock, LoweringAlwaysSucceeds)
{
    ASSERT_EQ(a_->request(Lock::Exclusive), Lock::SUCCESS);
    EXPECT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(a_->level(), Lock::Shared);
    EXPECT_EQ(b_->request(Lock::Shared), Lock::SUCCESS);
}

TEST_F(FileLock, ThePresentLevelIsGrantedWhateverOthersHold)
{
    ASSERT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    ASSERT_EQ(b_->request(Lock::Reserved), Lock::SUCCESS);
    EXPECT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(b_->request(Lock::Reserved), Lock::SUCCESS);
}

TEST_F(FileLock, AReleaseDoesNotRaise)
{
    ASSERT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(master_->release(*a_, Lock::Reserved), Lock::FAILED);
    EXPECT_EQ(a_->level(), Lock::Shared);
    EXPECT_EQ(master_->release(*a_, Lock::Unlocked), Lock::SUCCESS);
    EXPECT_EQ(a_->level(), Lock::Unlocked);
}

TEST_F(FileLock, WhoLeavesTakesItsClaimAlong)
{
    ASSERT_EQ(a_->request(Lock::Exclusive), Lock::SUCCESS);
    master_->leave(a_);
    EXPECT_EQ(b_->request(Lock::Exclusive), Lock::SUCCESS);
}

TEST_F(FileLock, WithoutItsGroupALockFailsAndHoldsNothing)
{
    ASSERT_EQ(a_->request(Lock::Shared), Lock::SUCCESS);
    master_.reset();
    EXPECT_EQ(a_->level(), Lock::Unlocked);
    EXPECT_EQ(a_->request(Lock::Shared), Lock::FAILED);
    EXPECT_EQ(a_->request(Lock::Unlocked), Lock::FAILED);
}

TEST_F(FileLock, NoTwoThreadsAreEverGrantedWritingTogether)
{
    constexpr int kThreads = 4;
    const int rounds = testsupport::repetitions(20000);
    std::atomic<int> writers{0};
    std::atomic<bool> overlapped{false};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, lock = master_->createLock()] {
            for (int round = 0; round < rounds; ++round) {
                if (lock->request(Lock::Exclusive) != Lock::SUCCESS)
                    continue;
                if (writers.fetch_add(1) != 0)
                    overlapped = true;
                writers.fetch_sub(1);
                lock->request(Lock::Unlocked);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(overlapped);
}

TEST_F(FileLock, TheGroupMayGoWhileItsMembersAreUsed)
{
    for (int round = testsupport::repetitions(200); round > 0; --round) {
        auto master = std::make_shared<eboFileMasterLock>();
        std::thread user([lock = master->createLock()] {
            while (lock->request(Lock::Shared) != Lock::FAILED)
                lock->request(Lock::Unlocked);
            EXPECT_EQ(lock->level(), Lock::Unlocked);
        });
        master.reset();
        user.join();
    }
}

}  // namespace
