#include "network/nfs/eboStdFileWitNfsNotification.h"

#include "network/nfs/ServingTest.h"
#include "support/LogCapture.h"

#include <thread>

using namespace nfstest;
using namespace peer::nfs;
using testsupport::LogCapture;

namespace {

constexpr std::int64_t kBlock = 4096;
constexpr eboFile::OpenFlags kReadAndWrite = eboFile::OpenRead | eboFile::OpenWrite | eboFile::OpenBinary;

class Notification : public ServingTest {
protected:
    Notification() : path_(put("song", block('a') + block('b') + block('c')))
    {
        share();
        device_ = join();
        ServingTest::open(*device_, 3, u"/music/song", 3 * kBlock);
    }

    /// The file, open.
    ebo::refptr<eboFile> opened(bool syncAfterWrite = false)
    {
        auto file = ebo::makeRef<eboStdFileWitNfsNotification>(
            ebo::weakptr<eboNfs>(nfs()), plain_->open(path_.c_str(), {}), syncAfterWrite);
        EXPECT_TRUE(file->open(kReadAndWrite));
        return file;
    }

    const std::string path_;
    const ebo::refptr<eboFileFactory> plain_ = ebo::makeRef<eboFileFactory>();
    std::unique_ptr<Device> device_;
};

TEST_F(Notification, ASyncTellsWhichBlocksWereWritten)
{
    const auto file = opened();
    ASSERT_TRUE(file->seek(kBlock - 1));
    EXPECT_EQ(file->write("xyz", 2), 2) << "the last byte of one block and the first of the next";
    EXPECT_EQ(file->write("", 0), 0);
    ASSERT_TRUE(file->seek(3 * kBlock));
    EXPECT_EQ(file->write("tail", 4), 4);
    expectNothingMore(*device_);
    EXPECT_EQ(file->sync(), 0);
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{0, 1}, {3, 3}}, 3 * kBlock + 4));
    EXPECT_EQ(file->sync(), 0);
    expectNothingMore(*device_);
    file->close();
}

TEST_F(Notification, AWriteOfNothingIsNoChange)
{
    const auto file = opened();
    EXPECT_EQ(file->write("", 0), 0);
    EXPECT_EQ(file->sync(), 0);
    expectNothingMore(*device_);
    file->close();
}

TEST_F(Notification, WithSyncAfterWriteEveryWriteIsTold)
{
    const auto file = opened(true);
    ASSERT_TRUE(file->seek(0));
    EXPECT_EQ(file->write("x", 1), 1);
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{0, 0}}, 3 * kBlock));
    EXPECT_FALSE(file->isDirty());
    file->close();
}

TEST_F(Notification, ANewLengthIsToldAtOnce)
{
    const auto file = opened();
    EXPECT_TRUE(file->truncate(kBlock + 5));
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{1, 2}}, kBlock + 5));
    EXPECT_TRUE(file->truncate(3 * kBlock));
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{1, 2}}, 3 * kBlock));
    EXPECT_TRUE(file->truncate(3 * kBlock));
    EXPECT_FALSE(file->truncate(-1));
    expectNothingMore(*device_);
    EXPECT_TRUE(file->truncate(0));
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{0, 2}}, 0));
    file->close();
}

TEST_F(Notification, ClosingADirtyFileTellsNothing)
{
    const auto file = opened();
    EXPECT_EQ(file->write("x", 1), 1);
    EXPECT_TRUE(file->isDirty());
    file->close();
    EXPECT_FALSE(file->isDirty());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
    expectNothingMore(*device_);
}

TEST_F(Notification, ADirtyFileThatAnotherHasLockedIsClosedWithAWarning)
{
    const auto file = opened();
    EXPECT_EQ(file->write("x", 1), 1);
    const auto other = file->clone();
    ASSERT_EQ(other->lock(eboFileLock::Shared), eboFileLock::SUCCESS);
    const LogCapture log;
    file->close();
    EXPECT_FALSE(file->isReadable());
    EXPECT_TRUE(hasText(log, "Unable to sync file on close"));
    EXPECT_EQ(content("song").size(), static_cast<std::size_t>(3 * kBlock + 1)) << "nothing is lost";
    EXPECT_EQ(other->lock(eboFileLock::Unlocked), eboFileLock::SUCCESS);
}

TEST_F(Notification, ACloneTellsToo)
{
    const auto clone = opened()->clone();
    EXPECT_FALSE(clone->isReadable()) << "closed at first";
    ASSERT_TRUE(clone->open(kReadAndWrite));
    EXPECT_TRUE(clone->truncate(1));
    EXPECT_EQ(device_->peer.next(), dataInvalid(3, {{0, 2}}, 1));
    EXPECT_STREQ(clone->filePath(), path_.c_str());
    clone->close();
}

TEST_F(Notification, EverythingElseIsTheFilesOwn)
{
    const auto file = opened();
    EXPECT_TRUE(file->isReadable());
    EXPECT_TRUE(file->isWritable());
    EXPECT_TRUE(file->atEnd()) << "opened for writing";
    EXPECT_EQ(file->pos(), 3 * kBlock);
    EXPECT_EQ(file->blockSize(), 512U);
    ASSERT_TRUE(file->seek(kBlock));
    char byte = 0;
    EXPECT_EQ(file->read(&byte, 1), 1);
    EXPECT_EQ(byte, 'b');
    EXPECT_EQ(file->flush(), 0);
    EXPECT_EQ(file->lock(eboFileLock::Reserved), eboFileLock::SUCCESS);
    EXPECT_EQ(file->lockLevel(), eboFileLock::Reserved);
    EXPECT_EQ(file->lock(eboFileLock::Unlocked), eboFileLock::SUCCESS);
    EXPECT_EQ(file->deleteFile(), 0);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Notification, AFileThatNobodyHasOpenConcernsNobody)
{
    const std::string other = put("other", "12345");
    const auto file = ebo::makeRef<eboStdFileWitNfsNotification>(ebo::weakptr<eboNfs>(nfs()),
                                                                 plain_->open(other.c_str(), {}), false);
    ASSERT_TRUE(file->open(kReadAndWrite));
    EXPECT_TRUE(file->truncate(1));
    file->close();
    const auto lonely = ebo::makeRef<eboStdFileWitNfsNotification>(ebo::weakptr<eboNfs>(),
                                                                   plain_->open(path_.c_str(), {}), false);
    ASSERT_TRUE(lonely->open(kReadAndWrite));
    EXPECT_TRUE(lonely->truncate(1));
    EXPECT_EQ(lonely->sync(), 0);
    lonely->close();
    expectNothingMore(*device_);
}

TEST_F(Notification, ManyThreadsMayWrite)
{
    constexpr int kWriters = 4;
    std::vector<std::thread> writers;
    writers.reserve(kWriters);
    for (int i = 0; i < kWriters; ++i)
        writers.emplace_back([this] {
            const auto file = opened();
            for (int round = 0; round < 50; ++round) {
                file->seek(round % 3 * kBlock);
                file->write("x", 1);
                file->sync();
            }
            file->close();
        });
    for (auto& writer : writers)
        writer.join();
    for (int i = 0; i < 200; ++i) {
        auto message = received(device_->peer.next());
        EXPECT_EQ(message.type, 6);
        EXPECT_EQ(message.body.ranges().size(), 1U);
    }
    expectNothingMore(*device_);
}

}  // namespace
