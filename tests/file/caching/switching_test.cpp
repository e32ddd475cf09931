#include "ViewRig.h"
#include "file/eboStdFile.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <thread>
#include <utility>

namespace {

using testsupport::Gate;
using testsupport::kRead;
using State = eboFileCachingThread::State;

/// What the test does to a reader that opens a copy.
struct CopyDoor {
    Gate gate;
    std::atomic<bool> isLocked = false;  ///< Opening fails.
};

/// A copy whose readers go through the door; its writer does not.
class CopyBehindADoor : public eboStdFile {
public:
    CopyBehindADoor(const char* path, std::shared_ptr<CopyDoor> door)
        : eboStdFile(path, nullptr), door_(std::move(door))
    {}

    bool open(OpenFlags flags) override
    {
        if (flags.testFlag(OpenWrite))
            return eboStdFile::open(flags);
        door_->gate.pass();
        return !door_->isLocked && eboStdFile::open(flags);
    }
    [[nodiscard]] ebo::refptr<eboFile> clone() override
    {
        return ebo::makeRef<CopyBehindADoor>(filePath(), door_);
    }

private:
    const std::shared_ptr<CopyDoor> door_;
};

class FactoryOfDoors : public eboFileFactory {
public:
    explicit FactoryOfDoors(std::shared_ptr<CopyDoor> door) : door_(std::move(door)) {}

    [[nodiscard]] ebo::refptr<eboFile> open(const char* path, Options /*options*/) override
    {
        return ebo::makeRef<CopyBehindADoor>(path, door_);
    }

private:
    const std::shared_ptr<CopyDoor> door_;
};

class Switching : public testsupport::ViewRig {
protected:
    /// From now on copies are opened through the door.
    void addDoor() { factory_ = ebo::makeRef<FactoryOfDoors>(door_); }

    std::shared_ptr<CopyDoor> door_ = std::make_shared<CopyDoor>();
    const std::string bytes_ = pattern(20000);
};

TEST_F(Switching, AReadUnderWayEndsOnThePlainFileAndTheNextGoesOnFromTheCopy)
{
    storage_->copying.shut();
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    EXPECT_EQ(read(*view, 10), bytes_.substr(0, 10));

    storage_->reading.shut();
    auto underWay = std::async(std::launch::async, [&] { return read(*view, 1000); });
    ASSERT_TRUE(storage_->reading.getsVisitor());
    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(underWay.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    storage_->reading.release();

    EXPECT_EQ(underWay.get(), bytes_.substr(10, 1000));
    EXPECT_EQ(view->pos(), 1010);
    EXPECT_EQ(read(*view, 500), bytes_.substr(1010, 500));
    EXPECT_EQ(storage_->plainReads, 2) << "the third read is the copy's";
}

TEST_F(Switching, AViewThatIsClosedDuringAReadDoesNotSwitch)
{
    const testsupport::LogCapture log;
    storage_->copying.shut();
    const auto view = viewOf(bytes_);
    const auto other = view->clone();
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(other->open(kRead)) << "so that the copy stays";
    storage_->reading.shut();
    auto underWay = std::async(std::launch::async, [&] { return read(*view, 1000); });
    ASSERT_TRUE(storage_->reading.getsVisitor());
    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Complete));
    view->close();
    storage_->reading.release();
    underWay.get();
    EXPECT_FALSE(view->isReadable());
    EXPECT_THAT(log.texts(), testing::IsEmpty()) << "the copy is not even tried";
    EXPECT_EQ(copies().size(), 1U);
}

TEST_F(Switching, AReadThatBeginsDuringTheSwitchIsTheCopys)
{
    addDoor();
    door_->gate.shut();
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(door_->gate.getsVisitor()) << "the caching thread is about to open the copy for the view";

    std::atomic<bool> isReading = false;
    auto underWay = std::async(std::launch::async, [&] {
        isReading = true;
        return read(*view, 1000);
    });
    ASSERT_TRUE(testsupport::eventually([&] { return isReading.load(); }));
    // Were it not held up, it would have read from the plain file by now.
    for (int i = 0; i < 1000; ++i)
        std::this_thread::yield();
    door_->gate.release();

    EXPECT_EQ(underWay.get(), bytes_.substr(0, 1000));
    EXPECT_EQ(storage_->plainReads, 0);
    EXPECT_EQ(read(*view, 1000), bytes_.substr(1000, 1000));
    EXPECT_EQ(storage_->plainReads, 0);
}

TEST_F(Switching, TheLevelOfALockGoesAlongToTheCopyAndThePlainFileIsReleased)
{
    storage_->copying.shut();
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_EQ(view->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    EXPECT_EQ(storage_->plainLevel, eboFileLock::Shared);
    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(storage_->plainLevel, eboFileLock::Unlocked) << "a writer of the plain file may have it";
    EXPECT_EQ(view->lockLevel(), eboFileLock::Shared);
    EXPECT_EQ(view->lock(eboFileLock::Unlocked), eboFileLock::SUCCESS);
}

TEST_F(Switching, ACopyThatCannotBeOpenedLeavesThePlainFileAndSaysSo)
{
    const testsupport::LogCapture log;
    addDoor();
    door_->isLocked = true;
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(read(*view, 1000), bytes_.substr(0, 1000));
    EXPECT_EQ(read(*view, 1000), bytes_.substr(1000, 1000));
    EXPECT_EQ(storage_->plainReads, 2);
    ASSERT_EQ(copies().size(), 1U);
    ASSERT_EQ(log.entries().size(), 1U) << "it is tried once";
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.file.caching");
    EXPECT_EQ(log.entries()[0].text, "Failed to open cachend file:  \"" + copies().front() + "\"");
}

TEST_F(Switching, WhatWasLostBeforeItStaysLost)
{
    storage_->copying.shut();
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    EXPECT_EQ(read(*view, 10), bytes_.substr(0, 10));
    EXPECT_FALSE(view->hasLostData());
    storage_->readersLost = true;
    EXPECT_TRUE(view->hasLostData());
    EXPECT_EQ(read(*view, 10), bytes_.substr(10, 10));
    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Complete));
    EXPECT_EQ(read(*view, 10), bytes_.substr(20, 10));
    EXPECT_EQ(storage_->plainReads, 2);
    EXPECT_TRUE(view->hasLostData()) << "ten bytes may have been others";
}

TEST_F(Switching, ACopyMadeWhileDataWereLostIsNone)
{
    storage_->copying.shut();
    const auto view = viewOf(bytes_);
    ASSERT_TRUE(view->open(kRead));
    ASSERT_TRUE(storage_->copying.getsVisitor());
    storage_->copierLost = true;
    storage_->copying.release();
    ASSERT_TRUE(reaches(*view, State::Failed));
    EXPECT_EQ(read(*view, 20000), bytes_);
    EXPECT_EQ(storage_->plainReads, 1);
    EXPECT_FALSE(view->hasLostData()) << "the reader lost nothing";
    EXPECT_TRUE(isCleared());
}

}  // namespace
