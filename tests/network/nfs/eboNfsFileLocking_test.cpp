#include "network/nfs/ClientTest.h"
#include "support/LogCapture.h"
#include "support/repetitions.h"

using namespace nfstest;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Lock = eboFileLock;

namespace {

class Locking : public ClientTest {
protected:
    static std::future<Lock::LockResult> locking(const Adapter& file, Lock::Level level)
    {
        return async([file, level] { return file->lock(level); });
    }
    void expectQuestion(Lock::Level level)
    {
        auto body = expect(kLockRequest);
        EXPECT_EQ(body.number(4), static_cast<std::uint64_t>(level));
        EXPECT_TRUE(body.atEnd());
    }
    void answerLock(int result, int level)
    {
        peer().send(peer::nfs::lockResponse(object(), static_cast<std::int8_t>(result), level));
    }
    void take(const Adapter& file, Lock::Level level)
    {
        auto result = locking(file, level);
        expectQuestion(level);
        answerLock(1, level);
        EXPECT_EQ(result.get(), Lock::SUCCESS);
        EXPECT_EQ(file->lockLevel(), level);
    }
};

TEST_F(Locking, TheDeviceDecides)
{
    const Adapter file = opened(100);
    EXPECT_EQ(file->lockLevel(), Lock::Unlocked);
    take(file, Lock::Shared);
    take(file, Lock::Exclusive);
    take(file, Lock::Unlocked);
    for (const int refusal : {0, -1}) {
        auto result = locking(file, Lock::Reserved);
        expectQuestion(Lock::Reserved);
        answerLock(refusal, 2);
        EXPECT_EQ(result.get(), Lock::BUSY) << refusal;
        EXPECT_EQ(file->lockLevel(), Lock::Unlocked);
    }
}

TEST_F(Locking, AnAnswerForAnotherLevelGrantsNothing)
{
    const Adapter file = opened(100);
    auto result = locking(file, Lock::Reserved);
    expectQuestion(Lock::Reserved);
    answerLock(1, 1);
    EXPECT_EQ(result.get(), Lock::BUSY);
}

TEST_F(Locking, AClosedAdapterHasNoLock)
{
    const Adapter file = adapter();
    EXPECT_EQ(file->lock(Lock::Shared), Lock::FAILED);
    expectSilence();
}

TEST_F(Locking, AsksThreeTimesASecondApart)
{
    const testsupport::LogCapture log;
    const Adapter file = opened(100);
    auto result = locking(file, Lock::Shared);
    auto last = Clock::now();
    expectQuestion(Lock::Shared);
    for (int again = 0; again < 2; ++again) {
        expectQuestion(Lock::Shared);
        EXPECT_GE(Clock::now() - last, 900ms);
        last = Clock::now();
    }
    EXPECT_EQ(result.get(), Lock::BUSY);
    EXPECT_TRUE(log.contains("lock failed"));
    expectSilence();
}

TEST_F(Locking, TheThirdQuestionMayStillBeAnswered)
{
    const Adapter file = opened(100);
    auto result = locking(file, Lock::Shared);
    for (int turn = 0; turn < 3; ++turn)
        expectQuestion(Lock::Shared);
    answerLock(1, 1);
    EXPECT_EQ(result.get(), Lock::SUCCESS);
}

TEST_F(Locking, AnAnswerFromBeforeIsNoAnswer)
{
    const Adapter file = opened(100);
    take(file, Lock::Shared);
    answerLock(1, 0);  // out of nowhere
    awaitArrival();
    auto result = locking(file, Lock::Unlocked);
    expectQuestion(Lock::Unlocked);
    EXPECT_EQ(result.wait_for(200ms), std::future_status::timeout);
    answerLock(0, 0);
    EXPECT_EQ(result.get(), Lock::BUSY);
}

TEST_F(Locking, AFileThatGoesMeanwhileIsUnlocked)
{
    const Adapter file = opened(100);
    auto result = locking(file, Lock::Shared);
    expectQuestion(Lock::Shared);
    peer().send(peer::nfs::objectUnavailable(object()));
    EXPECT_EQ(result.get(), Lock::SUCCESS);
}

TEST_F(Locking, TwoReadersAreOneClientAndKeepOutAWriterWithoutAMessage)
{
    const Adapter one = opened(100);
    const Adapter two = opened(100);
    const Adapter three = opened(100);
    take(one, Lock::Shared);
    EXPECT_EQ(two->lock(Lock::Shared), Lock::SUCCESS);
    EXPECT_EQ(three->lock(Lock::Exclusive), Lock::BUSY);
    EXPECT_EQ(one->lock(Lock::Unlocked), Lock::SUCCESS);
    expectSilence();
    take(two, Lock::Unlocked);
}

TEST_F(Locking, TheDeviceHearsOfTheHighestLevelOnly)
{
    const Adapter one = opened(100);
    const Adapter two = opened(100);
    take(one, Lock::Shared);
    take(two, Lock::Reserved);
    EXPECT_EQ(one->lock(Lock::Unlocked), Lock::SUCCESS);
    EXPECT_EQ(one->lock(Lock::Shared), Lock::SUCCESS);
    expectSilence();
    take(two, Lock::Shared);
    EXPECT_EQ(two->lock(Lock::Unlocked), Lock::SUCCESS);
    expectSilence();
}

TEST_F(Locking, ClosingALockedFileIsReportedAndChangesNoLevel)
{
    const testsupport::LogCapture log;
    const Adapter file = opened(100);
    take(file, Lock::Shared);
    file->close();
    EXPECT_TRUE(log.contains("File " + std::string(file->filePath()) + " was not unlocked before closing"));
    EXPECT_EQ(file->lockLevel(), Lock::Unlocked) << "closed";
    expectSilence();
    ASSERT_TRUE(file->open(eboFile::OpenRead));
    EXPECT_EQ(file->lockLevel(), Lock::Shared);
}

TEST_F(Locking, AnAdapterThatEndsLockedIsReportedAndLeavesNoClaim)
{
    const testsupport::LogCapture log;
    const Adapter other = opened(100);
    Adapter file = opened(100);
    take(file, Lock::Exclusive);
    file.reset();
    while (!log.contains("Deleting locked lock!"))
        std::this_thread::yield();
    take(other, Lock::Exclusive);
}

TEST_F(Locking, AnswersThatCrossNeverBlockAnybody)
{
    const ServingPeer server(peer(), someBytes(100), 2);  // everything is answered twice
    const Adapter file = adapter();
    ASSERT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenWrite));
    auto truncating = async([&] {
        bool isRight = true;
        for (int i = 0; i < testsupport::repetitions(2000); ++i)
            isRight = file_->truncate(i % 7) || isRight;
        return isRight;
    });
    int refused = 0;
    for (int i = 0; i < testsupport::repetitions(2000); ++i) {
        // The second answer to the question before may come as the first one to this.
        if (file->lock(i % 2 == 0 ? Lock::Shared : Lock::Unlocked) != Lock::SUCCESS)
            ++refused;
    }
    EXPECT_TRUE(truncating.get());
    EXPECT_GE(refused, 0);
}

}  // namespace
