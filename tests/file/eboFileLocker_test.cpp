#include "file/eboFileLocker.h"

#include "file/eboFileFactory.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

using testsupport::LogCapture;

class FileLocker : public testing::Test {
protected:
    ebo::refptr<eboFileFactory> factory_ = ebo::makeRef<eboFileFactory>();
    ebo::refptr<eboFile> file_ = factory_->open("/nowhere", {});
};

template <typename Exception, typename Action>
std::string textOf(Action action)
{
    try {
        action();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

TEST_F(FileLocker, HoldsTheFileSharedForItsLife)
{
    {
        const eboFileLocker locker(file_);
        EXPECT_EQ(file_->lockLevel(), eboFileLock::Shared);
    }
    EXPECT_EQ(file_->lockLevel(), eboFileLock::Unlocked);
}

TEST_F(FileLocker, WantsAFile)
{
    EXPECT_EQ(textOf<std::runtime_error>([] { const eboFileLocker locker(nullptr); }),
              "No file in eboFileLocker constructor");
}

TEST_F(FileLocker, DoesNotLockTwice)
{
    ASSERT_EQ(file_->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    EXPECT_EQ(textOf<eboFileLocker::RecursiveLockException>([this] { const eboFileLocker locker(file_); }),
              "eboFile was already locked");
    EXPECT_EQ(file_->lockLevel(), eboFileLock::Shared) << "a failed locker does not unlock";
}

TEST_F(FileLocker, SaysWhenTheLockIsRefused)
{
    const auto writer = file_->clone();
    ASSERT_EQ(writer->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    EXPECT_EQ(textOf<eboFileLocker::LockFailException>([this] { const eboFileLocker locker(file_); }),
              "eboFile locking failed");
}

TEST_F(FileLocker, DoesNotKeepTheFileAlive)
{
    const ebo::weakptr<eboFile> watched(file_);
    const eboFileLocker locker(file_);
    file_.reset();
    EXPECT_FALSE(watched.isValid());
}

TEST_F(FileLocker, ALockWhoseGroupHasGoneIsNotHeld)
{
    auto locker = std::make_unique<eboFileLocker>(file_);
    factory_.reset();
    const LogCapture quiet;
    locker.reset();
    EXPECT_THAT(quiet.texts(), testing::IsEmpty());
}

TEST_F(FileLocker, ReportsAFileThatStaysLocked)
{
    class StubbornFile : public testsupport::MemoryFile {
    public:
        StubbornFile() : MemoryFile("/stubborn", "") {}
        eboFileLock::LockResult lock(eboFileLock::Level level) override
        {
            return level == eboFileLock::Unlocked ? eboFileLock::FAILED : MemoryFile::lock(level);
        }
    };
    const ebo::refptr<eboFile> file = ebo::makeRef<StubbornFile>();
    auto locker = std::make_unique<eboFileLocker>(file);
    const LogCapture log;
    locker.reset();
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].type, QtCriticalMsg);
    EXPECT_EQ(log.entries()[0].text, "Failed to unlock file: \"/stubborn\"");
}

}  // namespace
