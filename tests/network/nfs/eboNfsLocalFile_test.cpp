#include "network/nfs/eboNfsLocalFile.h"

#include "network/nfs/ServingTest.h"
#include "support/LogCapture.h"

#include <algorithm>
#include <array>
#include <atomic>

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

TEST_F(LocalFile, RangesOfManyUsesWaitUpToALimitForAll)
{
    share();
    put("song", block('a'));
    const auto device = join();
    const auto host = hostOf(*device);
    constexpr std::uint32_t kUses = 17;
    for (std::uint32_t object = 1; object <= kUses + 1; ++object)
        open(*device, object, u"/music/song", kBlock);
    const LogCapture log;
    onNetworkThread([&] {
        for (std::uint32_t object = 1; object <= kUses; ++object) {
            Message request(eboNfsMessages::eFileDataRequest, object);
            for (std::uint64_t i = 0; i < 65536; ++i)
                request.requestedBlocks.set(2 * i + 100);
            root().processRequest(request, host.get());
        }
        EXPECT_TRUE(hasText(log, "Too many blocks requested at once of:")) << "by the last of them";
        root().processRequest(dataRequestOf(kUses + 1, 0, 0), host.get());
        EXPECT_TRUE(root().processFiles());
        for (std::uint32_t object = 1; object <= kUses; ++object)
            root().processRequest({eboNfsMessages::eFileRelease, object}, host.get());
    });
    for (std::uint32_t object = 1; object < kUses; ++object)
        EXPECT_EQ(device->peer.next(), fileData(object, 100 * kBlock, ""));
    EXPECT_EQ(device->peer.next(), fileData(kUses + 1, 0, block('a'))) << "a few are always in order";
    expectNothingMore(*device);
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

/// Counts the paths that it is asked for.
class CountingFactory : public eboFileFactory {
public:
    std::atomic<int> asked{0};

    ebo::refptr<eboFile> open(const char* path, Options options) override
    {
        ++asked;
        return eboFileFactory::open(path, options);
    }
};

class CountedFiles : public LocalFile {
protected:
    ebo::refptr<eboFileFactory> makeFactory() override { return counting_; }

    const ebo::refptr<CountingFactory> counting_ = ebo::makeRef<CountingFactory>();
};

TEST_F(CountedFiles, PathsThatLeadNowhereLeaveNoTraceInTheFactory)
{
    share({.readOnly = true});
    put("song", "12345");
    fs::create_directory(music() + "/folder");
    const auto device = join();
    std::uint32_t object = 0;
    for (const char16_t* path : {u"/music/none", u"/music/no/where", u"/music/song/x", u"/music/folder"}) {
        device->peer.send(fileRequest(++object, path));
        EXPECT_EQ(device->peer.next(), fileInfo(object, 0, 0));
    }
    EXPECT_EQ(counting_->asked, 0);
    device->peer.send(truncateRequest(object, 7));
    EXPECT_EQ(device->peer.next(), truncateResponse(object, false, 0));
    device->peer.send(dataRequest(object, {{0, 0}}));
    device->peer.send(fileRelease(object));
    open(*device, ++object, u"/music/song", 5);
    EXPECT_EQ(counting_->asked, 1);
}

TEST_F(CountedFiles, WhereAFileMayBeCreatedTheFactoryIsAsked)
{
    share();
    const auto device = join();
    device->peer.send(fileRequest(1, u"/music/no/where"));
    EXPECT_EQ(device->peer.next(), fileInfo(1, 0, 0));
    EXPECT_EQ(counting_->asked, 0);
    open(*device, 2, u"/music/new", 0);
    EXPECT_EQ(counting_->asked, 1);
    EXPECT_EQ(content("new"), "");
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

TEST_F(LocalFile, PlainNamesAreServedIfThePolicySaysSo)
{
    put("a:b", "12345");
    put("c\xEF\x80\xA2", "123");
    share({.plainNames = true});
    const auto device = join();
    open(*device, 3, u"/music/a:b", 5);
    open(*device, 4, u"/music/c:", 3);
}

}  // namespace
