#include "network/nfs/eboNfsInfo.h"

#include "network/nfs/NfsTest.h"
#include "network/nfs/netUrl.h"

#include <chrono>
#include <future>

using namespace nfstest;
using namespace std::chrono_literals;
using peer::nfs::received;

namespace {

constexpr std::int32_t kInfoRequest = 2001;

/// An answer of a device of another make: 13 bytes for each time.
peer::Bytes info(std::uint32_t object, bool exists, bool isDir, std::int64_t size)
{
    const peer::Bytes time = peer::number64(2458851) + peer::number32(11045006) + "\1";
    return peer::nfs::header(object, 1) + peer::Bytes(1, exists ? '\1' : '\0') +
           peer::Bytes(1, isDir ? '\1' : '\0') + peer::number32(0x6644) + time + time + time +
           peer::number64(static_cast<std::uint64_t>(size));
}

class EboNfsInfo : public NfsTest {
protected:
    ebo::refptr<eboNfsInfo> infoOf(const Device& device, const char* path)
    {
        return nfs()->getInfo(QUrl(device.url(QString::fromLatin1(path))));
    }

    static std::future<bool> refreshing(const ebo::refptr<eboNfsInfo>& info)
    {
        return std::async(std::launch::async, [info] { return info->refresh(); });
    }
};

TEST_F(EboNfsInfo, AsksAndTellsTheAnswer)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/Music/a.flac");
    auto result = refreshing(asked);
    auto request = received(device->peer.next());
    EXPECT_EQ(request.type, kInfoRequest);
    EXPECT_EQ(request.body.text(), u"/Music/a.flac");
    EXPECT_TRUE(request.body.atEnd());
    device->peer.send(info(request.object, true, false, 5368709120));
    EXPECT_TRUE(result.get());
    EXPECT_TRUE(asked->exists());
    EXPECT_FALSE(asked->isDir());
    EXPECT_EQ(asked->flags(), 0x6644);
    EXPECT_EQ(asked->size(), 5368709120);
    const QDateTime time(QDate(2020, 1, 2), QTime(3, 4, 5, 6), Qt::UTC);
    EXPECT_EQ(asked->ctime(), time);
    EXPECT_EQ(asked->mtime(), time);
    EXPECT_EQ(asked->atime(), time);
}

TEST_F(EboNfsInfo, AnAnswerIsTrustedForASecond)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto result = refreshing(asked);
    const auto request = received(device->peer.next());
    device->peer.send(info(request.object, true, false, 1));
    EXPECT_TRUE(result.get());
    EXPECT_TRUE(asked->refresh());  // comes back though nobody answers
    settle();
    EXPECT_FALSE(device->peer.nextWithin(0ms).has_value());
}

TEST_F(EboNfsInfo, AsksAgainAfterASecondOfSilence)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto result = refreshing(asked);
    const auto first = device->peer.next();
    const auto begin = std::chrono::steady_clock::now();
    const auto second = device->peer.next();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 900ms);  // not after every 500 ms
    EXPECT_EQ(second, first);
    device->peer.send(info(received(second).object, false, false, 0));
    EXPECT_TRUE(result.get());  // the question was answered: there is no such thing
    EXPECT_FALSE(asked->exists());
}

TEST_F(EboNfsInfo, ADeviceThatHasGoneEndsTheWait)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto result = refreshing(asked);
    static_cast<void>(device->peer.next());
    leave(*device);
    EXPECT_FALSE(result.get());
    EXPECT_FALSE(asked->refresh());  // at once from now on
}

TEST_F(EboNfsInfo, OtherAnswersAreNoAnswer)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto result = refreshing(asked);
    const auto object = received(device->peer.next()).object;
    device->peer.send(peer::nfs::fileInfo(object, 12));
    device->peer.send(info(object, true, true, 3));
    EXPECT_TRUE(result.get());
    EXPECT_TRUE(asked->isDir());
    EXPECT_EQ(asked->size(), 3);
}

TEST_F(EboNfsInfo, SeveralThreadsShareOneAnswer)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto one = refreshing(asked);
    const auto request = received(device->peer.next());
    auto other = refreshing(asked);
    device->peer.send(info(request.object, true, false, 9));
    EXPECT_TRUE(one.get());
    EXPECT_TRUE(other.get());
    EXPECT_EQ(asked->size(), 9);
}

TEST_F(EboNfsInfo, EndingEverythingEndsTheWait)
{
    const auto device = join();
    const auto asked = infoOf(*device, "/a");
    auto result = refreshing(asked);
    static_cast<void>(device->peer.next());
    nfs()->makeEverythingUnavailable();
    EXPECT_FALSE(result.get());
}

}  // namespace
