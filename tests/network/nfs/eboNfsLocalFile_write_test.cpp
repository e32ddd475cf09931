#include "network/nfs/eboNfsLocalFile.h"

#include "network/nfs/ServingTest.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"

#include <algorithm>

using namespace nfstest;
using namespace peer::nfs;
using eboNfsMessages::Message;
using testsupport::LogCapture;

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kBlock = 4096;

class LocalFileWriting : public ServingTest {};

TEST_F(LocalFileWriting, AnotherDevicesWriteIsReadAfterItsNotice)
{
    share();
    put("song", block('a') + block('b') + block('c'));
    std::vector<std::string> changes;
    const auto writer = join(1);
    const auto reader = join(2);
    QObject::connect(
        nfs().get(), &eboNfs::fileChanged, nfs().get(),
        [&](const QString& path) { changes.push_back(path.toStdString()); }, Qt::DirectConnection);
    open(*writer, 3, u"/music/song", 3 * kBlock);
    open(*reader, 4, u"/music/song", 3 * kBlock);
    reader->peer.send(dataRequest(4, {{0, 0}}));
    EXPECT_EQ(reader->peer.next(), fileData(4, 0, block('a')));

    writer->peer.send(writeRequest(3, kBlock, block('x')));
    writer->peer.send(writeRequest(3, 3 * kBlock, "tail"));
    writer->peer.send(writeRequest(3, kBlock, block('y')));  // the later one wins
    expectNothingMore(*writer);
    expectNothingMore(*reader);
    EXPECT_EQ(content("song"), block('a') + block('b') + block('c')) << "nothing before the sync";

    writer->peer.send(syncRequest(3));
    EXPECT_EQ(reader->peer.next(), dataInvalid(4, {{1, 1}, {3, 3}}, 3 * kBlock + 4));
    EXPECT_EQ(content("song"), block('a') + block('y') + block('c') + "tail");
    reader->peer.send(dataRequest(4, {{1, 1}, {3, 3}}));
    EXPECT_EQ(reader->peer.next(), fileData(4, kBlock, block('y')));
    EXPECT_EQ(reader->peer.next(), fileData(4, 3 * kBlock, "tail"));
    expectNothingMore(*writer);
    writer->peer.send(syncRequest(3));  // nothing to do
    expectNothingMore(*writer);
    expectNothingMore(*reader);
    EXPECT_EQ(changes, (std::vector<std::string>(2, music() + "/song")));
}

TEST_F(LocalFileWriting, ChangesOfThisDeviceReachAllOthers)
{
    share();
    const std::string path = put("song", block('a') + block('b'));
    const auto device = join();
    open(*device, 3, u"/music/song", 2 * kBlock);
    open(*device, 4, u"/music/song", 2 * kBlock);
    const auto local = factory()->open(path.c_str(), {});
    ASSERT_TRUE(local->open(eboFile::OpenRead | eboFile::OpenWrite | eboFile::OpenBinary));
    ASSERT_TRUE(local->seek(kBlock));
    EXPECT_EQ(local->write("x", 1), 1);
    EXPECT_EQ(local->sync(), 0);
    EXPECT_EQ(device->peer.next(), dataInvalid(3, {{1, 1}}, 2 * kBlock));
    EXPECT_EQ(device->peer.next(), dataInvalid(4, {{1, 1}}, 2 * kBlock));
    local->close();
}

TEST_F(LocalFileWriting, NoticesOfManyScatteredChangesComeInPieces)
{
    share();
    put("song", "");
    const auto device = join();
    open(*device, 3, u"/music/song", 0);
    eboSparseBitArray scattered;
    for (std::uint64_t i = 0; i < 5000; ++i)
        scattered.set(3 * i);
    root().servedFile(urlOf(music() + "/song"))->internalInvalidateFileTransmissionState(scattered);
    Ranges all;
    for (int i = 0; i < 2; ++i) {
        auto [object, type, body] = received(device->peer.next());
        EXPECT_EQ(type, 6);
        for (const auto& range : body.ranges())
            all.push_back(range);
        EXPECT_EQ(body.number(8), 0U);
    }
    ASSERT_EQ(all.size(), 5000U);
    EXPECT_EQ(all.front(), (std::pair<std::uint64_t, std::uint64_t>(0, 0)));
    EXPECT_EQ(all.back(), (std::pair<std::uint64_t, std::uint64_t>(14997, 14997)));
}

TEST_F(LocalFileWriting, WritesWithoutASyncGoWithTheirWriter)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    device->peer.send(writeRequest(3, 0, "abc"));
    device->peer.send(fileRelease(3));
    open(*device, 4, u"/music/song", 5);
    device->peer.send(syncRequest(4));
    expectNothingMore(*device);
    EXPECT_EQ(content("song"), "12345");
}

TEST_F(LocalFileWriting, WritesThatPileUpWithoutASyncAreDropped)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    const auto host = hostOf(*device);
    const LogCapture log;
    onNetworkThread([&] {
        Message write(eboNfsMessages::eFileWriteRequest, 3);
        write.data = "x";  // their number is limited, whatever their size
        constexpr int kTooMany = 65536 + 1;
        for (int i = 0; i < kTooMany; ++i)
            root().processRequest(write, host.get());
        EXPECT_FALSE(root().processRequest({eboNfsMessages::eFileSyncRequest, 3}, host.get()));
    });
    EXPECT_EQ(content("song"), "12345");
    EXPECT_TRUE(hasText(log, "Too much was written without a sync"));
    device->peer.send(writeRequest(3, 0, "abc"));
    device->peer.send(syncRequest(3));
    expectNothingMore(*device);
    EXPECT_EQ(content("song"), "abc45") << "after that it works again";
}

TEST_F(LocalFileWriting, WritesOfManyUsesPileUpToALimitForAll)
{
    share();
    put("song", block('a'));
    const auto device = join();
    const auto host = hostOf(*device);
    constexpr std::uint32_t kUses = 4;
    for (std::uint32_t object = 1; object <= kUses; ++object)
        open(*device, object, u"/music/song", kBlock);
    const LogCapture log;
    const auto writeTimes = [&](std::uint32_t object, int times) {
        Message write(eboNfsMessages::eFileWriteRequest, object);
        write.data = QByteArray(1, static_cast<char>('0' + object));
        for (int i = 0; i < times; ++i)
            root().processRequest(write, host.get());
    };
    const auto sync = [&](std::uint32_t object) {
        return root().processRequest({eboNfsMessages::eFileSyncRequest, object}, host.get());
    };
    onNetworkThread([&] {
        writeTimes(1, 65536);
        writeTimes(2, 65536);  // with these, as many wait as may
        writeTimes(3, 16);     // a few are always in order
        writeTimes(4, 17);
        EXPECT_TRUE(sync(3));
        EXPECT_FALSE(sync(4));
    });
    EXPECT_TRUE(hasText(log, "Too much was written without a sync"));
    EXPECT_EQ(content("song"), "3" + block('a', 4095));
    onNetworkThread([&] {
        root().processRequest({eboNfsMessages::eFileRelease, 1}, host.get());  // which makes room
        writeTimes(4, 100);
        EXPECT_TRUE(sync(4));
    });
    EXPECT_EQ(content("song"), "4" + block('a', 4095));
}

TEST_F(LocalFileWriting, ARequestForWhatIsBeingWrittenIsReportedAndServed)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    const LogCapture log;
    device->peer.send(writeRequest(3, 0, "abc"));
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345"));
    EXPECT_TRUE(hasText(log, "Data request during write!"));
}

/// Open for writing, but takes only some of the bytes.

class StingyFile : public testsupport::MemoryFile {
public:
    using MemoryFile::MemoryFile;
    bool open(OpenFlags /*flags*/) override { return MemoryFile::open(OpenRead); }
    std::int64_t write(const void* /*data*/, std::int64_t /*size*/) override
    {
        ++writes;
        return taken;
    }
    std::int64_t taken = 0;
    int writes = 0;
};

TEST_F(LocalFileWriting, FailedAndShortWritesEndTheSyncAndAreKept)
{
    const auto file = ebo::makeRef<StingyFile>(music() + "/song", "12345");
    notifyingFactory_->replace(music() + "/song", file);
    share();
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    const LogCapture log;
    device->peer.send(writeRequest(3, 0, "abc"));
    file->taken = -1;
    device->peer.send(syncRequest(3));
    expectNothingMore(*device);
    EXPECT_TRUE(hasText(log, "Failed writing to:"));
    file->taken = 2;
    device->peer.send(syncRequest(3));
    expectNothingMore(*device);
    EXPECT_TRUE(hasText(log, "Did not write whole data package to file."));
    EXPECT_EQ(file->writes, 2) << "each sync tries again";
}

TEST_F(LocalFileWriting, WritingToAFileThatCouldNotBeOpenedFails)
{
    share();
    const auto device = join();
    device->peer.send(fileRequest(3, u"/music/no/file"));
    EXPECT_EQ(device->peer.next(), fileInfo(3, 0, 0));
    device->peer.send(writeRequest(3, 0, "abc"));
    device->peer.send(syncRequest(3));
    device->peer.send(dataRequest(3, {{0, 0}}));
    device->peer.send(truncateRequest(3, 0));
    EXPECT_EQ(device->peer.next(), truncateResponse(3, false, 0));
    device->peer.send(deleteRequest(3));
    EXPECT_EQ(device->peer.next(), deleteResponse(3, false));
    expectNothingMore(*device);
}

TEST_F(LocalFileWriting, TruncatingIsNoticedByAllBeforeItIsAnswered)
{
    share();
    put("song", block('a') + block('b') + block('c'));
    const auto one = join(1);
    const auto two = join(2);
    open(*one, 3, u"/music/song", 3 * kBlock);
    open(*two, 4, u"/music/song", 3 * kBlock);
    one->peer.send(truncateRequest(3, kBlock + 1));
    EXPECT_EQ(one->peer.next(), dataInvalid(3, {{1, 2}}, kBlock + 1));
    EXPECT_EQ(one->peer.next(), truncateResponse(3, true, kBlock + 1));
    EXPECT_EQ(two->peer.next(), dataInvalid(4, {{1, 2}}, kBlock + 1));
    EXPECT_EQ(content("song"), block('a') + "b");

    one->peer.send(truncateRequest(3, kBlock + 1));
    EXPECT_EQ(one->peer.next(), truncateResponse(3, true, kBlock + 1)) << "nothing has changed";
    one->peer.send(truncateRequest(3, -1));
    EXPECT_EQ(one->peer.next(), truncateResponse(3, false, kBlock + 1));
    expectNothingMore(*two);
}

TEST_F(LocalFileWriting, DeletingEndsTheUseOfTheOneWhoAsked)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    open(*device, 4, u"/music/song", 5);
    device->peer.send(deleteRequest(3));
    EXPECT_EQ(device->peer.next(), deleteResponse(3, true));
    EXPECT_FALSE(fs::exists(music() + "/song"));
    device->peer.send(dataRequest(3, {{0, 0}}));
    expectNothingMore(*device);
    device->peer.send(dataRequest(4, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(4, 0, "12345")) << "it is still open there";
    device->peer.send(deleteRequest(4));
    EXPECT_EQ(device->peer.next(), deleteResponse(4, false));
}

TEST_F(LocalFileWriting, ReadOnlySharingChangesNothing)
{
    share({.readOnly = true});
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    device->peer.send(fileRequest(4, u"/music/new"));
    EXPECT_EQ(device->peer.next(), fileInfo(4, 0, 0));
    EXPECT_FALSE(fs::exists(music() + "/new"));

    device->peer.send(writeRequest(3, 0, "abc"));
    device->peer.send(writeRequest(3, 17, "abc"));  // fatal where writing is allowed
    device->peer.send(writeRequest(3, -kBlock, "abc"));
    device->peer.send(syncRequest(3));
    device->peer.send(truncateRequest(3, 0));
    EXPECT_EQ(device->peer.next(), truncateResponse(3, false, 5));
    device->peer.send(deleteRequest(3));
    EXPECT_EQ(device->peer.next(), deleteResponse(3, false));
    expectNothingMore(*device);
    EXPECT_EQ(content("song"), "12345");
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345")) << "reading goes on";
    device->peer.send(lockRequest(3, 1));
    EXPECT_EQ(device->peer.next(), lockResponse(3, 1, 1));
}

/// Cannot seek, or moves somewhere else by writing.

class LostFile : public StingyFile {
public:
    using StingyFile::StingyFile;
    bool seek(std::int64_t position) override { return canSeek && StingyFile::seek(position); }
    [[nodiscard]] std::int64_t pos() const override { return StingyFile::pos() + 7; }
    bool canSeek = true;
};

class LocalFileDeathTest : public LocalFileWriting {
protected:
    LocalFileDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    /// Writes and syncs on "song", and waits for what becomes of it.
    void write(std::int64_t offset)
    {
        share();
        const auto device = join();
        device->peer.send(fileRequest(3, u"/music/song"));
        static_cast<void>(device->peer.next());
        device->peer.send(writeRequest(3, offset, "abc"));
        device->peer.send(syncRequest(3));
        expectNothingMore(*device);
    }
};

TEST_F(LocalFileDeathTest, AMisalignedWriteIsFatal)
{
    put("song", "12345");
    EXPECT_DEATH(write(17), "Write request data offset was not aligned to block boundary");
}

TEST_F(LocalFileDeathTest, AFailedSeekInASyncIsFatal)
{
    const auto file = ebo::makeRef<LostFile>(music() + "/song", "12345");
    file->canSeek = false;
    notifyingFactory_->replace(music() + "/song", file);
    EXPECT_DEATH(write(0), "failed to seek");
}

TEST_F(LocalFileDeathTest, AWriteThatEndsElsewhereIsFatal)
{
    const auto file = ebo::makeRef<LostFile>(music() + "/song", "12345");
    file->taken = 3;
    notifyingFactory_->replace(music() + "/song", file);
    EXPECT_DEATH(write(0),
                 "Data written to wrong place in file. .offset: 0, bWritten: 3, dSize: 3, newPos: 7");
}

}  // namespace
