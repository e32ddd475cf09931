#include "network/nfs/eboNfsLocalFile.h"

#include "network/nfs/ServingTest.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"

#include <algorithm>
#include <array>

#include <sys/stat.h>

using namespace nfstest;
using namespace peer::nfs;
using eboNfsMessages::Message;
using testsupport::eventually;
using testsupport::LogCapture;

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kBlock = 4096;

class LocalFile : public ServingTest {
protected:
    static bool hasText(const LogCapture& log, const std::string& part)
    {
        const auto texts = log.texts();
        return std::any_of(texts.begin(), texts.end(),
                           [&part](const std::string& text) { return text.find(part) != std::string::npos; });
    }

    /// A file of that many bytes that takes no room.
    void putSparse(const std::string& name, std::int64_t size) const
    {
        put(name, {});
        fs::resize_file(music() + "/" + name, static_cast<std::uintmax_t>(size));
    }

    static Message fileRequestOf(std::uint32_t object, const char* path)
    {
        Message message(eboNfsMessages::eFileRequest, object);
        message.path = QString::fromLatin1(path);
        return message;
    }
    static Message dataRequestOf(std::uint32_t object, std::uint64_t first, std::uint64_t last)
    {
        Message message(eboNfsMessages::eFileDataRequest, object);
        message.requestedBlocks.set(eboSparseBitArray::Range{first, last});
        return message;
    }
};

TEST_F(LocalFile, ItsSizeAndItsBlocksAreSent)
{
    share();
    put("song", block('a') + block('b') + "end");
    const auto device = join();
    open(*device, 3, u"/music/song", 2 * kBlock + 3);
    device->peer.send(dataRequest(3, {{2, 2}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 2 * kBlock, "end"));
    device->peer.send(dataRequest(3, {{0, 1}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, block('a')));
    EXPECT_EQ(device->peer.next(), fileData(3, kBlock, block('b')));
    device->peer.send(dataRequest(3, {}));
    expectNothingMore(*device);
}

TEST_F(LocalFile, AnEmptyFileIsOpenAndEmpty)
{
    share();
    put("song", "");
    const auto device = join();
    open(*device, 3, u"/music/song", 0);
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, ""));
}

TEST_F(LocalFile, ABlockBehindTheEndIsSentWithoutData)
{
    share();
    put("song", block('a'));
    const auto device = join();
    open(*device, 3, u"/music/song", kBlock);
    device->peer.send(dataRequest(3, {{0, 2}, {1000, 1000}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, block('a')));
    EXPECT_EQ(device->peer.next(), fileData(3, kBlock, ""));
    EXPECT_EQ(device->peer.next(), fileData(3, 2 * kBlock, ""));
    EXPECT_EQ(device->peer.next(), fileData(3, 1000 * kBlock, ""));
    expectNothingMore(*device);
}

TEST_F(LocalFile, RangesThatLieCostLittle)
{
    share();
    put("song", block('a'));
    const auto device = join();
    open(*device, 3, u"/music/song", kBlock);
    constexpr std::uint64_t kHuge = 0x7FFFFFFFFFFFFFFF;
    device->peer.send(dataRequest(3, {{0, kHuge}}));
    constexpr std::int64_t kBlocksBehindEnd = 256;
    for (std::int64_t i = 0; i <= kBlocksBehindEnd; ++i)
        ASSERT_EQ(device->peer.next(), fileData(3, i * kBlock, i == 0 ? block('a') : "")) << i;
    expectNothingMore(*device);
    const auto last = static_cast<std::int64_t>(kHuge / kBlock);  // the last one that has an offset
    device->peer.send(dataRequest(3, {{kHuge, kHuge}}));
    device->peer.send(dataRequest(3, {{kHuge / kBlock - 1, kHuge}}));
    EXPECT_EQ(device->peer.next(), fileData(3, (last - 1) * kBlock, ""));
    EXPECT_EQ(device->peer.next(), fileData(3, last * kBlock, ""));
    device->peer.send(dataRequest(3, {{9, 2}}));  // rejected as a message
    expectNothingMore(*device);
}

TEST_F(LocalFile, OnlySoManyRangesWaitAtATime)
{
    share();
    put("song", block('a'));
    const auto device = join();
    const auto host = hostOf(*device);
    const LogCapture log;
    onNetworkThread([&] {
        root().processRequest(fileRequestOf(3, "/music/song"), host.get());
        for (std::uint64_t part = 0; part < 20; ++part) {
            Message request(eboNfsMessages::eFileDataRequest, 3);
            for (std::uint64_t i = 0; i < 4000; ++i)
                request.requestedBlocks.set(2 * (4000 * part + i));
            root().processRequest(request, host.get());
        }
        nfs()->triggerProcessing();
    });
    EXPECT_EQ(device->peer.next(), fileInfo(3, kBlock));
    for (std::int64_t i = 0; i < 16 * 4000; ++i)
        ASSERT_EQ(device->peer.next(), fileData(3, 2 * i * kBlock, i == 0 ? block('a') : ""));
    expectNothingMore(*device);
    EXPECT_TRUE(hasText(log, "Too many blocks requested at once of:"));
}

TEST_F(LocalFile, AFileThatIsRequestedAgainIsToldAgain)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    put("song", "123456");
    open(*device, 3, u"/music/song", 6);
    expectNothingMore(*device);
    device->peer.send(fileRelease(3));
    device->peer.send(dataRequest(3, {{0, 0}}));
    device->peer.send(fileRelease(3));
    expectNothingMore(*device);
}

TEST_F(LocalFile, AMissingFileIsCreated)
{
    share();
    const auto device = join();
    open(*device, 3, u"/music/new", 0);
    EXPECT_TRUE(fs::exists(music() + "/new"));
}

TEST_F(LocalFile, EightReadersGetABlockEachInEveryTurn)
{
    share();
    putSparse("one", 100 * kBlock);
    putSparse("two", 100 * kBlock);
    const auto device = join();
    const auto host = hostOf(*device);
    constexpr std::uint32_t kReaders = 8;
    constexpr int kTurns = 7;  // less than a connection takes at once
    onNetworkThread([&] {
        for (std::uint32_t object = 0; object < kReaders; ++object) {
            root().processRequest(fileRequestOf(object, object % 3 == 0 ? "/music/one" : "/music/two"),
                                  host.get());
            EXPECT_TRUE(root().processRequest(dataRequestOf(object, object, 99), host.get()));
        }
        for (int turn = 0; turn < kTurns; ++turn)
            EXPECT_TRUE(root().processFiles());
    });
    for (int turn = 0; turn < kTurns; ++turn) {
        std::array<int, kReaders> messages{};
        for (std::uint32_t i = 0; i < kReaders; ++i) {
            auto [object, type, body] = received(device->peer.next());
            EXPECT_EQ(type, turn == 0 ? 4 : 5);
            ASSERT_LT(object, kReaders);
            ++messages[object];
            if (turn == 0)
                continue;
            EXPECT_EQ(body.number(8), (object + static_cast<std::uint64_t>(turn) - 1) * 4096);
        }
        EXPECT_EQ(messages, (std::array<int, kReaders>{1, 1, 1, 1, 1, 1, 1, 1})) << "turn " << turn;
    }
}

TEST_F(LocalFile, BlocksWaitForADeviceThatDoesNotRead)
{
    share();
    constexpr std::int64_t kBlocks = 6000;  // 24 MB: more than sockets take
    putSparse("song", kBlocks * kBlock);
    const auto device = join();
    const auto host = hostOf(*device);
    open(*device, 3, u"/music/song", kBlocks * kBlock);
    device->peer.send(dataRequest(3, {{0, kBlocks - 1}}));
    qint64 most = 0;
    EXPECT_TRUE(eventually([&] {
        qint64 unsent = 0;
        onNetworkThread([&] { unsent = host->unsentBytes(); });
        most = std::max(most, unsent);
        return unsent > 256 * 1024 && !nfs()->isProcessingPending();
    }));
    EXPECT_LT(most, 256 * 1024 + 2 * kBlock);
    const std::string zeros = block('\0');
    for (std::int64_t i = 0; i < kBlocks; ++i)
        ASSERT_EQ(device->peer.next(), fileData(3, i * kBlock, zeros)) << i;
    expectNothingMore(*device);
}

TEST_F(LocalFile, LocksOfTwoDevicesFollowTheRulesOfOneFile)
{
    share();
    put("song", "12345");
    const auto one = join(1);
    const auto two = join(2);
    open(*one, 3, u"/music/song", 5);
    open(*two, 4, u"/music/song", 5);
    for (std::int32_t first = 0; first <= 3; ++first) {
        for (std::int32_t second = 0; second <= 3; ++second) {
            one->peer.send(lockRequest(3, first));
            ASSERT_EQ(one->peer.next(), lockResponse(3, 1, first));
            two->peer.send(lockRequest(4, second));
            const bool granted =
                second == 0 || first == 0 || (first == 1 && second <= 2) || (first == 2 && second == 1);
            ASSERT_EQ(two->peer.next(), lockResponse(4, granted ? 1 : 0, second)) << first << " " << second;
            two->peer.send(lockRequest(4, 0));
            ASSERT_EQ(two->peer.next(), lockResponse(4, 1, 0));
            one->peer.send(lockRequest(3, 0));
            ASSERT_EQ(one->peer.next(), lockResponse(3, 1, 0));
        }
    }
}

TEST_F(LocalFile, LevelsThatDoNotExistFail)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    for (const std::int32_t level : {-1, 4, 0x7FFFFFFF, -0x7FFFFFFF}) {
        device->peer.send(lockRequest(3, level));
        EXPECT_EQ(device->peer.next(), lockResponse(3, -1, level));
    }
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345"));
}

TEST_F(LocalFile, ALockGoesWithItsHolder)
{
    share();
    put("song", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    open(*device, 4, u"/music/song", 5);
    device->peer.send(lockRequest(3, 3));
    EXPECT_EQ(device->peer.next(), lockResponse(3, 1, 3));
    device->peer.send(dataRequest(4, {{0, 0}}));  // nobody reads beside a writer
    expectNothingMore(*device);
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345"));
    device->peer.send(fileRelease(3));
    device->peer.send(dataRequest(4, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(4, 0, "12345"));
    device->peer.send(lockRequest(4, 3));
    EXPECT_EQ(device->peer.next(), lockResponse(4, 1, 3)) << "reading left no level behind";
}

TEST_F(LocalFile, AnotherDevicesWriteIsReadAfterItsNotice)
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

TEST_F(LocalFile, ChangesOfThisDeviceReachAllOthers)
{
    share();
    const std::string path = put("song", block('a') + block('b'));
    const auto device = join();
    open(*device, 3, u"/music/song", 2 * kBlock);
    open(*device, 4, u"/music/song", 2 * kBlock);
    const auto local = factory()->open(path.c_str(), 0);
    ASSERT_TRUE(local->open(28));
    ASSERT_TRUE(local->seek(kBlock));
    EXPECT_EQ(local->write("x", 1), 1);
    EXPECT_EQ(local->sync(), 0);
    EXPECT_EQ(device->peer.next(), dataInvalid(3, {{1, 1}}, 2 * kBlock));
    EXPECT_EQ(device->peer.next(), dataInvalid(4, {{1, 1}}, 2 * kBlock));
    local->close();
}

TEST_F(LocalFile, NoticesOfManyScatteredChangesComeInPieces)
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

TEST_F(LocalFile, WritesWithoutASyncGoWithTheirWriter)
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

TEST_F(LocalFile, WritesThatPileUpWithoutASyncAreDropped)
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

TEST_F(LocalFile, ARequestForWhatIsBeingWrittenIsReportedAndServed)
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
    bool open(int /*flags*/) override { return MemoryFile::open(OpenRead); }
    std::int64_t write(const void* /*data*/, std::int64_t /*size*/) override
    {
        ++writes;
        return taken;
    }
    std::int64_t taken = 0;
    int writes = 0;
};

TEST_F(LocalFile, FailedAndShortWritesEndTheSyncAndAreKept)
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

TEST_F(LocalFile, WritingToAFileThatCouldNotBeOpenedFails)
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

TEST_F(LocalFile, TruncatingIsNoticedByAllBeforeItIsAnswered)
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

TEST_F(LocalFile, DeletingEndsTheUseOfTheOneWhoAsked)
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

TEST_F(LocalFile, ReadOnlySharingChangesNothing)
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

TEST_F(LocalFile, PlainNamesAreServedIfThePolicySaysSo)
{
    put("a:b", "12345");
    put("c\xEF\x80\xA2", "123");
    share({.plainNames = true});
    const auto device = join();
    open(*device, 3, u"/music/a:b", 5);
    open(*device, 4, u"/music/c:", 3);
}

/// Cannot seek, or moves somewhere else by writing.
class LostFile : public StingyFile {
public:
    using StingyFile::StingyFile;
    bool seek(std::int64_t position) override { return canSeek && StingyFile::seek(position); }
    [[nodiscard]] std::int64_t pos() const override { return StingyFile::pos() + 7; }
    bool canSeek = true;
};

class LocalFileDeathTest : public LocalFile {
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
