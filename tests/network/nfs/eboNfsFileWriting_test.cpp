#include "network/nfs/ClientTest.h"
#include "support/LogCapture.h"
#include "support/eventually.h"

using namespace nfstest;
using namespace std::chrono_literals;
using testsupport::eventually;

namespace {

constexpr eboFile::OpenFlags kReadWrite = eboFile::OpenRead | eboFile::OpenWrite | eboFile::OpenBinary;
constexpr eboFile::OpenFlags kWrite = eboFile::OpenWrite | eboFile::OpenBinary;

class Writing : public ClientTest {
protected:
    static std::int64_t write(eboFile& file, const std::string& bytes)
    {
        return file.write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    }
    static std::future<std::int64_t> writing(const Adapter& file, const std::string& bytes)
    {
        return async([file, bytes] { return write(*file, bytes); });
    }
    void expectWrite(std::int64_t offset, const std::string& data)
    {
        auto body = expect(kWriteRequest);
        EXPECT_EQ(body.number(8), static_cast<std::uint64_t>(offset));
        EXPECT_TRUE(body.blob() == data) << "at " << offset;
        EXPECT_TRUE(body.atEnd());
    }
    void expectSync() { EXPECT_TRUE(expect(kSyncRequest).atEnd()); }
    void expectTruncation(std::uint64_t size) { EXPECT_EQ(expect(kTruncateRequest).number(8), size); }
    void answerLock(std::uint64_t level, std::int8_t result = 1)
    {
        EXPECT_EQ(expect(kLockRequest).number(4), level);
        peer().send(peer::nfs::lockResponse(object(), result, static_cast<std::int32_t>(level)));
    }
    /// As after a sync that worked, so that closing needs no lock.
    void clean(const Adapter& file)
    {
        EXPECT_EQ(file->sync(), 0);
        EXPECT_FALSE(file->isDirty());
    }
};

TEST_F(Writing, NothingGoesOutBeforeASync)
{
    const std::string bytes = someBytes(9000);
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(file->pos(), 0);
    EXPECT_FALSE(file->isDirty());
    EXPECT_EQ(write(*file, bytes), 9000);
    EXPECT_EQ(file->pos(), 9000);
    EXPECT_EQ(file->size(), 9000);
    EXPECT_TRUE(file->isDirty());
    expectSilence();
    clean(file);
    expectWrite(0, bytes.substr(0, 4096));
    expectWrite(4096, bytes.substr(4096, 4096));
    expectWrite(8192, bytes.substr(8192));
    expectSync();
    expectSilence();
}

TEST_F(Writing, APartOfAPageKeepsTheOtherBytes)
{
    std::string content = someBytes(6000);
    const Adapter file = opened(6000, kReadWrite);
    ASSERT_TRUE(file->seek(4100));
    auto count = writing(file, "xyz");
    expectRequest(1);
    answer(1, content);
    EXPECT_EQ(count.get(), 3);
    content.replace(4100, 3, "xyz");
    clean(file);
    expectWrite(4096, content.substr(4096));
    expectSync();
    ASSERT_TRUE(file->seek(4096));
    EXPECT_EQ(readFrom(*file, 100), content.substr(4096, 100));
}

TEST_F(Writing, BehindTheEndNothingIsFetchedAndTheRestIsZeros)
{
    const Adapter file = opened(8192, kReadWrite | eboFile::OpenAtEnd);
    EXPECT_EQ(file->pos(), 8192);
    EXPECT_EQ(write(*file, "end"), 3);
    EXPECT_EQ(file->size(), 8195);
    clean(file);
    expectWrite(8192, "end");
    expectSync();
}

TEST_F(Writing, ManySmallWritesToAPageAreSentOnce)
{
    const Adapter file = opened(0, kReadWrite);
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(write(*file, "12345678"), 8);
        expected += "12345678";
    }
    clean(file);
    expectWrite(0, expected.substr(0, 4096));
    expectWrite(4096, expected.substr(4096));
    expectSync();
    ASSERT_TRUE(file->seek(0));
    EXPECT_EQ(write(*file, "X"), 1);
    clean(file);
    expected[0] = 'X';
    expectWrite(0, expected.substr(0, 4096));
    expectSync();
}

TEST_F(Writing, ASyncWithoutWritesIsASyncAllTheSame)
{
    const Adapter file = opened(10, kReadWrite);
    clean(file);
    expectSync();
}

TEST_F(Writing, WhatOneAdapterWroteTheOtherReadsAndSyncs)
{
    const Adapter one = opened(0, kReadWrite);
    const Adapter two = opened(0, kReadWrite);
    EXPECT_EQ(write(*one, "shared"), 6);
    EXPECT_EQ(readFrom(*two, 10), "shared");
    clean(two);
    expectWrite(0, "shared");
    expectSync();
    EXPECT_TRUE(one->isDirty()) << "it has not synced itself";
    clean(one);
    expectSync();
}

TEST_F(Writing, AnAdapterThatOnlyReadsDoesNotWrite)
{
    const Adapter file = opened(0);
    EXPECT_EQ(write(*file, "no"), -1);
    EXPECT_FALSE(file->isDirty());
    file->close();
    EXPECT_EQ(write(*file, "no"), -1);
    expectSilence();
}

TEST_F(Writing, NoBytesAreWrittenAtOnceAndFewerNever)
{
    const Adapter file = opened(5000, kReadWrite);
    EXPECT_EQ(file->write("", 0), 0);
    EXPECT_EQ(file->write("", -1), -1);
    EXPECT_EQ(file->size(), 5000);
    EXPECT_EQ(file->sync(), 0);
    expectSync();
}

TEST_F(Writing, ALongWriteEndsWhereTheCacheDoes)
{
    auto cache = std::make_shared<eboUtils::PageCache>(70);
    file_ = ebo::makeRef<eboNfsFile>(ebo::weakptr<eboNfs>(), file_->host(), cache, file_->url(),
                                     nfs()->takeObjectId());
    nfs()->addObject(file_);
    const std::string bytes = someBytes(100 * 4096);
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, bytes), 70 * 4096);
    EXPECT_EQ(file->pos(), 70 * 4096);
    EXPECT_EQ(write(*file, "more"), 0);
    clean(file);
    for (std::int64_t block = 0; block < 70; ++block)
        expectWrite(block * 4096, bytes.substr(static_cast<std::size_t>(block) * 4096, 4096));
    expectSync();
    EXPECT_EQ(write(*file, "more"), 4);
    clean(file);
    expectWrite(70 * 4096, "more");
}

TEST_F(Writing, AChangedLengthDoesNotCutOffWhatWaitsToBeSent)
{
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, "0123456789"), 10);
    peer().send(peer::nfs::fileInfo(object(), 4));
    peer().send(peer::nfs::dataInvalid(object(), {}, 10));  // to see that the first has come
    const auto changes = std::make_shared<std::atomic<int>>(0);
    peer().send(peer::nfs::fileInfo(object(), 20));
    EXPECT_TRUE(eventually([&] { return file->size() == 20; }));
    peer().send(peer::nfs::fileInfo(object(), 5));
    EXPECT_TRUE(eventually([&] { return file->size() == 10; }));
    clean(file);
    expectWrite(0, "0123456789");
    expectSync();
}

TEST_F(Writing, WhatAnotherDeviceHasCutOffIsNotSent)
{
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, someBytes(12000)), 12000);
    peer().send(peer::nfs::dataInvalid(object(), {{1, 2}}, 5000));
    ASSERT_TRUE(eventually([&] { return file->size() == 5000; }));
    clean(file);
    expectWrite(0, someBytes(12000).substr(0, 4096));
    expectWrite(4096, someBytes(12000).substr(4096, 904));
    expectSync();
}

TEST_F(Writing, ClosingSendsWhatWasWrittenUnderTheHighestLock)
{
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, "late"), 4);
    auto closed = async([&] { file->close(); });
    answerLock(3);
    expectWrite(0, "late");
    expectSync();
    answerLock(0);
    closed.get();
    EXPECT_TRUE(file->open(kReadWrite));
    EXPECT_FALSE(file->isDirty());
    EXPECT_EQ(file->pos(), 0);
}

TEST_F(Writing, ClosingWithoutTheLockSendsNothing)
{
    const testsupport::LogCapture log;
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, "lost"), 4);
    auto closed = async([&] { file->close(); });
    answerLock(3, 0);
    closed.get();
    EXPECT_TRUE(log.contains("Failed syncing file on close"));
    expectSilence();
    ASSERT_TRUE(file->open(kReadWrite));
    EXPECT_TRUE(file->isDirty()) << "until somebody syncs";
    clean(file);
    expectWrite(0, "lost");
}

TEST_F(Writing, ClosingAsksForNoLockAgainstAnotherAdapters)
{
    const testsupport::LogCapture log;
    const Adapter file = opened(0, kReadWrite);
    const Adapter other = opened(0);
    auto locked = async([&] { return other->lock(eboFileLock::Shared); });
    answerLock(1);
    ASSERT_EQ(locked.get(), eboFileLock::SUCCESS);
    EXPECT_EQ(write(*file, "lost"), 4);
    file->close();
    EXPECT_TRUE(log.contains("Failed syncing file on close"));
    expectSilence();
    auto unlocked = async([&] { return other->lock(eboFileLock::Unlocked); });
    answerLock(0);
    EXPECT_EQ(unlocked.get(), eboFileLock::SUCCESS);
    EXPECT_EQ(other->sync(), 0);
    ASSERT_TRUE(file->open(kReadWrite));
    clean(file);
}

TEST_F(Writing, WritingAloneEmptiesTheFileFirst)
{
    const Adapter file = adapter();
    auto isOpen = async([&] { return file->open(kWrite); });
    expect(kFileRequest);
    peer().send(peer::nfs::fileInfo(object(), 100));
    expectTruncation(0);
    peer().send(peer::nfs::dataInvalid(object(), {{0, 0}}, 0));
    peer().send(peer::nfs::truncateResponse(object(), true, 0));
    EXPECT_TRUE(isOpen.get());
    EXPECT_TRUE(file->isWritable());
    EXPECT_EQ(file->size(), 0);
    EXPECT_EQ(file->pos(), 0);
}

TEST_F(Writing, WritingAtTheEndEmptiesNothing)
{
    const Adapter file = opened(100, kWrite | eboFile::OpenAtEnd);
    EXPECT_EQ(file->pos(), 100);
    expectSilence();
}

TEST_F(Writing, TruncatingIsStrongerThanTheEnd)
{
    const Adapter first = opened(100);
    const Adapter file = adapter();
    for (const eboFile::OpenFlags flags :
         {kWrite | eboFile::OpenAtEnd | eboFile::OpenTruncate, kReadWrite | eboFile::OpenTruncate,
          kReadWrite | eboFile::OpenTruncate | eboFile::OpenAtEnd}) {
        auto isOpen = async([&] { return file->open(flags); });
        expectTruncation(0);
        peer().send(peer::nfs::truncateResponse(object(), true, 0));
        EXPECT_TRUE(isOpen.get()) << flags;
        EXPECT_EQ(file->pos(), 0) << flags;
        file->close();
    }
}

TEST_F(Writing, AFileThatCannotBeEmptiedDoesNotOpenForIt)
{
    const Adapter first = opened(100);
    const Adapter file = adapter();
    auto isOpen = async([&] { return file->open(kWrite); });
    expectTruncation(0);
    peer().send(peer::nfs::truncateResponse(object(), false, 100));
    EXPECT_FALSE(isOpen.get());
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(first->size(), 100);
}

TEST_F(Writing, TruncatingTellsWhetherTheFileHasTheLength)
{
    const Adapter file = opened(100, kReadWrite);
    struct Case {
        bool truncated;
        std::int64_t size;
        bool expected;
    };
    for (const Case& c : {Case{true, 60, true}, Case{true, 61, false}, Case{false, 60, false}}) {
        auto result = async([&] { return file->truncate(60); });
        expectTruncation(60);
        peer().send(peer::nfs::truncateResponse(object(), c.truncated, c.size));
        EXPECT_EQ(result.get(), c.expected) << c.truncated << c.size;
        EXPECT_EQ(file->size(), c.size);
    }
    EXPECT_FALSE(file->truncate(-1));
    expectSilence();
}

TEST_F(Writing, TruncatingForgetsWhatWasWrittenBehindTheNewEnd)
{
    const Adapter file = opened(0, kReadWrite);
    EXPECT_EQ(write(*file, someBytes(12000)), 12000);
    auto result = async([&] { return file->truncate(5000); });
    expectTruncation(5000);
    peer().send(peer::nfs::truncateResponse(object(), true, 5000));
    EXPECT_TRUE(result.get());
    clean(file);
    expectWrite(0, someBytes(12000).substr(0, 4096));
    expectWrite(4096, someBytes(12000).substr(4096, 904));
    expectSync();
}

TEST_F(Writing, ASecondTruncationDoesNotWaitForTheFirst)
{
    const Adapter one = opened(100, kReadWrite);
    const Adapter two = opened(100, kReadWrite);
    auto first = async([&] { return one->truncate(10); });
    expectTruncation(10);
    EXPECT_FALSE(two->truncate(20));
    expectSilence();
    peer().send(peer::nfs::truncateResponse(object(), true, 10));
    EXPECT_TRUE(first.get());
    auto third = async([&] { return two->truncate(20); });
    expectTruncation(20);
    peer().send(peer::nfs::truncateResponse(object(), true, 20));
    EXPECT_TRUE(third.get());
}

TEST_F(Writing, ATruncationIsAskedForOnceHoweverLongItTakes)
{
    const Adapter file = opened(100, kReadWrite);
    auto result = async([&] { return file->truncate(10); });
    expectTruncation(10);
    EXPECT_FALSE(peer().nextWithin(1300ms).has_value());
    peer().send(peer::nfs::truncateResponse(object(), true, 10));
    EXPECT_TRUE(result.get());
}

TEST_F(Writing, ATruncationEndsWithItsFile)
{
    const Adapter file = opened(100, kReadWrite);
    auto result = async([&] { return file->truncate(10); });
    expectTruncation(10);
    peer().send(peer::nfs::objectUnavailable(object()));
    EXPECT_FALSE(result.get());
}

TEST_F(Writing, ATruncationEndsWithItsDevice)
{
    const Adapter file = opened(100, kReadWrite);
    auto result = async([&] { return file->truncate(10); });
    expectTruncation(10);
    leave(*device_);
    EXPECT_FALSE(result.get());
}

}  // namespace
