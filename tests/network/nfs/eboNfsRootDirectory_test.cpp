#include "network/nfs/eboNfsRootDirectory.h"

#include "network/nfs/ServingTest.h"
#include "network/nfs/servingLimits.h"
#include "support/LogCapture.h"

#include <QDateTime>

#include <algorithm>

#include <sys/stat.h>

using namespace nfstest;
using namespace peer::nfs;
using testsupport::eventually;
using testsupport::LogCapture;

namespace fs = std::filesystem;

namespace {

class RootDirectory : public ServingTest {
protected:
    struct Info {
        bool exists;
        bool isDir;
        std::uint64_t flags;
        std::uint64_t size;
    };

    static Info infoOf(Device& device, const std::u16string& path)
    {
        device.peer.send(infoRequest(5, path));
        auto [object, type, body] = received(device.peer.next());
        EXPECT_EQ(object, 5U);
        EXPECT_EQ(type, 1);
        Info info{};
        info.exists = body.boolean();
        info.isDir = body.boolean();
        info.flags = body.number(4);
        constexpr unsigned kDateTimeBytes = 8 + 4 + 1;
        for (unsigned i = 0; i < 3 * kDateTimeBytes; ++i)
            static_cast<void>(body.number(1));
        info.size = body.number(8);
        EXPECT_TRUE(body.atEnd());
        return info;
    }
};

TEST_F(RootDirectory, InfoTellsWhatThereIs)
{
    share();
    ::chmod(put("song.mp3", "12345").c_str(), 0640);
    const auto device = join();
    const Info song = infoOf(*device, u"/music/song.mp3");
    EXPECT_TRUE(song.exists);
    EXPECT_FALSE(song.isDir);
    EXPECT_EQ(song.flags & 0x7077U, 0x6040U) << "of the owner, the group and the others";
    EXPECT_EQ(song.size, 5U);

    const Info folder = infoOf(*device, u"/music");
    EXPECT_TRUE(folder.exists);
    EXPECT_TRUE(folder.isDir);

    for (const char16_t* path : {u"/music/none", u"/other", u"/", u"/music/song.mp3/x"}) {
        const Info none = infoOf(*device, path);
        EXPECT_FALSE(none.exists);
        EXPECT_FALSE(none.isDir);
        EXPECT_EQ(none.flags, 0U);
        EXPECT_EQ(none.size, 0U);
    }
}

TEST_F(RootDirectory, InfoOfTheEmptyPathIsThatOfTheRoot)
{
    share();
    const auto device = join();
    const Info info = infoOf(*device, u"");
    EXPECT_TRUE(info.exists);
    EXPECT_TRUE(info.isDir);
    EXPECT_EQ(info.flags, 0xFFFFFU);
    EXPECT_EQ(info.size, 0xFFFFFFFFU);
}

TEST_F(RootDirectory, TheRootListsWhatIsMountedAndTellsOfChanges)
{
    share();
    const auto device = join();
    device->peer.send(directoryRequest(3, u"/"));
    EXPECT_EQ(device->peer.next(), directoryContents(3, {u"music"}, true, true, true));
    EXPECT_EQ(device->peer.next(), directoryInfo(3, true, 0xFFFFF, kNoLimit));
    device->peer.send(directoryRequest(4, u"/"));
    EXPECT_EQ(device->peer.next(), directoryContents(3, {u"music"}, true, true, true));
    EXPECT_EQ(device->peer.next(), directoryContents(4, {u"music"}, true, true, true));
    EXPECT_EQ(device->peer.next(), directoryInfo(4, true, 0xFFFFF, kNoLimit));

    device->peer.send(directoryRelease(3));
    onNetworkThread([&] { root().mountDirectory(urlOf(dir() + "/b"), QStringLiteral("books"), 5); });
    EXPECT_TRUE(eventually([&] {
        bool mounted = false;
        onNetworkThread([&] { mounted = root().isDirectoryMounted(urlOf(dir() + "/b")); });
        return mounted;
    }));
    auto message = device->peer.next();
    if (message == directoryContents(3, {u"books", u"music"}, true, true, true))  // the release came later
        message = device->peer.next();
    EXPECT_EQ(message, directoryContents(4, {u"books", u"music"}, true, true, true));
    expectNothingMore(*device);
    onNetworkThread([&] {
        root().unmountDirectory(urlOf(dir() + "/b"));
        root().unmountDirectory(urlOf(music()));
    });
    EXPECT_EQ(device->peer.next(), directoryContents(4, {u"music"}, true, true, true));
    EXPECT_EQ(device->peer.next(), directoryContents(4, {}, true, true, true));
    device->peer.send(directoryRelease(4));
    expectNothingMore(*device);
    onNetworkThread([&] { root().mountDirectory(urlOf(music()), QStringLiteral("music"), 5); });
    expectNothingMore(*device);
}

TEST_F(RootDirectory, NothingIsMountedTwice)
{
    share();
    const LogCapture log;
    onNetworkThread([&] {
        root().mountDirectory(urlOf(music()), QStringLiteral("again"), 5);
        root().mountDirectory(urlOf(dir()), QStringLiteral("music"), 5);
        EXPECT_FALSE(root().isDirectoryMounted(urlOf(dir())));
        EXPECT_EQ(root().entryList(QDir::AllDirs), QStringList{QStringLiteral("music")});
        EXPECT_EQ(root().entryList(QDir::Files), QStringList());
    });
    const auto texts = log.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "Tried adding already existing directory!"), 2);
}

TEST_F(RootDirectory, DirectoryRequestsAreAlwaysAnswered)
{
    share({}, 777);
    const auto device = join();
    for (const char16_t* path : {u"", u"/other", u"/musi"}) {
        device->peer.send(directoryRequest(3, path));
        EXPECT_EQ(device->peer.next(), directoryInfo(3, false, 0, kNoLimit));
    }
    device->peer.send(directoryRequest(3, std::u16string(u"/music/a\0b", 10)));
    EXPECT_EQ(device->peer.next(), directoryInfo(3, false, 0, kNoLimit));

    device->peer.send(directoryRequest(4, u"/music/missing"));
    EXPECT_EQ(device->peer.next(), directoryInfo(4, true, 0, 777)) << "only its path is looked at";
    EXPECT_EQ(device->peer.next(), directoryContents(4, {}, true, true, false));
}

TEST_F(RootDirectory, FileRequestsAreAlwaysAnswered)
{
    share();
    const auto device = join();
    for (const char16_t* path : {u"", u"/", u"/other/a", u"/music", u"/music/no/file", u"/music/\xD800"}) {
        device->peer.send(fileRequest(3, path));
        EXPECT_EQ(device->peer.next(), fileInfo(3, 0, 0));
    }
    expectNothingMore(*device);
}

TEST_F(RootDirectory, RequestsForWhatIsNotThereAreAnsweredByThat)
{
    share();
    const auto device = join();
    const LogCapture log;
    for (const auto& request :
         {directoryRelease(8), dataRequest(8, {{0, 0}}), fileRelease(8), writeRequest(8, 0, "x"),
          syncRequest(8), lockRequest(8, 1), truncateRequest(8, 0), deleteRequest(8), header(8, 2011)}) {
        device->peer.send(request);
        EXPECT_EQ(device->peer.next(), objectUnavailable(8));
    }
    EXPECT_TRUE(hasText(log, "Received request for unavailable object from host:"));
}

TEST_F(RootDirectory, RequestsThatAnObjectDoesNotKnowAreSilent)
{
    share();
    put("song.mp3", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song.mp3", 5);
    device->peer.send(directoryRelease(3));
    device->peer.send(directoryRequest(4, u"/"));
    EXPECT_EQ(received(device->peer.next()).type, 3);
    EXPECT_EQ(received(device->peer.next()).type, 2);
    device->peer.send(dataRequest(4, {{0, 0}}));
    device->peer.send(deleteRequest(4));
    expectNothingMore(*device);
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345"));
}

TEST_F(RootDirectory, ReleasesThatMatchNothingAreReported)
{
    share();
    const auto device = join();
    const auto host = hostOf(*device);
    const LogCapture log;
    onNetworkThread([&] {
        root().releaseObject(host, 1);
        root().registerListeningHost(host, 1);
        root().registerListeningHost(host, 1);
        EXPECT_EQ(root().listenerCount(), 1U);
        root().releaseObject(host, 2);
        root().releaseObject(host, 1);
        EXPECT_EQ(root().listenerCount(), 0U);
    });
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{"Got eDirectoryRelease for non registered host!",
                                        "Someones trying to double register !!",
                                        "Got eDirectoryRelease for non registered objected id!"}));
}

TEST_F(RootDirectory, ANumberGivenToSomethingElseFreesWhatItStoodFor)
{
    share();
    put("a", "a");
    put("b", "bb");
    const auto device = join();
    open(*device, 3, u"/music/a", 1);
    device->peer.send(lockRequest(3, 3));
    EXPECT_EQ(device->peer.next(), lockResponse(3, 1, 3));
    open(*device, 3, u"/music/b", 2);
    open(*device, 4, u"/music/a", 1);
    device->peer.send(lockRequest(4, 3));
    EXPECT_EQ(device->peer.next(), lockResponse(4, 1, 3)) << "nobody else has it open";
    onNetworkThread([&] {
        const auto host = hostOf(*device);
        EXPECT_FALSE(root().servedFile(urlOf(music() + "/a"))->serves(host.get(), 3));
        EXPECT_TRUE(root().servedFile(urlOf(music() + "/b"))->serves(host.get(), 3));
    });
}

TEST_F(RootDirectory, UnmountingTakesAwayWhatIsUsed)
{
    share();
    put("song.mp3", "12345");
    const auto device = join();
    open(*device, 3, u"/music/song.mp3", 5);
    device->peer.send(directoryRequest(4, u"/music"));
    EXPECT_EQ(received(device->peer.next()).type, 2);
    EXPECT_EQ(received(device->peer.next()).type, 3);
    QUrl finished;
    QObject::connect(
        &root(), &eboNfsRootDirectory::unmountDirectoryFinished, &root(),
        [&](const QUrl& url) { finished = url; }, Qt::DirectConnection);
    onNetworkThread([&] { root().unmountDirectory(urlOf(music())); });
    EXPECT_EQ(finished, urlOf(music()));
    std::vector<peer::Bytes> told{device->peer.next(), device->peer.next()};
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, (std::vector<peer::Bytes>{objectUnavailable(3), objectUnavailable(4)}));
    EXPECT_FALSE(nfs()->rootDirectory()->servedFile(urlOf(music() + "/song.mp3")));
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), objectUnavailable(3));
    device->peer.send(fileRequest(5, u"/music/song.mp3"));
    EXPECT_EQ(device->peer.next(), fileInfo(5, 0, 0));
    expectNothingMore(*device);
}

TEST_F(RootDirectory, WhatADeviceAskedBeforeItWentIsNotServed)
{
    share();
    put("song.mp3", "12345");
    const auto device = join();
    const auto host = hostOf(*device);
    leave(*device);
    onNetworkThread([&] {
        eboNfsMessages::Message request(eboNfsMessages::eFileRequest, 3);
        request.path = QStringLiteral("/music/song.mp3");
        EXPECT_FALSE(root().processRequest(request, host.get()));
        request.type = eboNfsMessages::eDirectoryRequest;
        request.path = QStringLiteral("/");
        EXPECT_FALSE(root().processRequest(request, host.get()));
    });
    EXPECT_FALSE(root().servedFile(urlOf(music() + "/song.mp3")));
    EXPECT_EQ(root().listenerCount(), 0U);
}

TEST_F(RootDirectory, ADeviceThatHasGoneUsesNothingAnyMore)
{
    share();
    put("song.mp3", "12345");
    const auto one = join(1);
    const auto two = join(2);
    open(*one, 3, u"/music/song.mp3", 5);
    open(*two, 3, u"/music/song.mp3", 5);
    one->peer.send(directoryRequest(4, u"/music"));
    EXPECT_EQ(received(one->peer.next()).type, 2);
    EXPECT_EQ(received(one->peer.next()).type, 3);
    one->peer.send(lockRequest(3, 3));
    EXPECT_EQ(one->peer.next(), lockResponse(3, 1, 3));
    two->peer.send(lockRequest(3, 1));
    EXPECT_EQ(two->peer.next(), lockResponse(3, 0, 1));
    leave(*one);
    two->peer.send(lockRequest(3, 1));
    EXPECT_EQ(two->peer.next(), lockResponse(3, 1, 1));
    put("another", "x");  // nobody hears of it
    expectNothingMore(*two);
}

TEST_F(RootDirectory, OpeningAndReleasingAFileIsTold)
{
    share();
    put("song.mp3", "12345");
    struct Told {
        bool isOpen;
        QString path;
        QUuid host;
        bool operator==(const Told&) const = default;
    };
    std::vector<Told> told;
    const auto listen = [&](auto signal, bool isOpen) {
        QObject::connect(
            &root(), signal, &root(),
            [&told, isOpen](const QString& path, const QUuid& host) {
                told.push_back({isOpen, path, host});
            },
            Qt::DirectConnection);
    };
    listen(&eboNfsRootDirectory::fileOpened, true);
    listen(&eboNfsRootDirectory::fileReleased, false);
    const auto one = join(1);
    const auto two = join(2);
    open(*one, 3, u"/music/song.mp3", 5);
    one->peer.send(fileRequest(4, u"/music/no/file"));
    EXPECT_EQ(one->peer.next(), fileInfo(4, 0, 0));
    open(*two, 3, u"/music/song.mp3", 5);
    one->peer.send(fileRelease(4));
    one->peer.send(fileRelease(3));
    one->peer.send(fileRelease(3));
    expectNothingMore(*one);
    leave(*two);
    const QString path = QString::fromStdString(music() + "/song.mp3");
    const QUuid first = one->host->uuid();
    const QUuid second = two->host->uuid();
    EXPECT_EQ(told,
              (std::vector<Told>{
                  {true, path, first}, {true, path, second}, {false, path, first}, {false, path, second}}));
}

TEST_F(RootDirectory, WhatOneDeviceCanHoldIsLimited)
{
    share();
    put("song.mp3", "12345");
    const auto device = join();
    constexpr auto kMost = static_cast<std::uint32_t>(servingLimits::kMostObjectsOfHost);
    for (std::uint32_t object = 1; object <= kMost; ++object)
        open(*device, object, u"/music/song.mp3", 5);
    device->peer.send(fileRequest(kMost + 1, u"/music/song.mp3"));
    EXPECT_EQ(device->peer.next(), fileInfo(kMost + 1, 0, 0));
    device->peer.send(directoryRequest(kMost + 2, u"/music"));
    EXPECT_EQ(device->peer.next(), directoryInfo(kMost + 2, false, 0, kNoLimit));
    device->peer.send(fileRelease(7));
    open(*device, kMost + 3, u"/music/song.mp3", 5);
    const auto other = join(2);
    open(*other, 1, u"/music/song.mp3", 5);
}

TEST_F(RootDirectory, FilesThatCouldNotBeOpenedDoNotCount)
{
    share({.readOnly = true});
    put("song.mp3", "12345");
    const auto device = join();
    constexpr auto kMost = static_cast<std::uint32_t>(servingLimits::kMostObjectsOfHost);
    for (std::uint32_t object = 1; object <= 2 * kMost;
         ++object) {  // a device does not release what it never had
        device->peer.send(fileRequest(object, u"/music/missing"));
        EXPECT_EQ(device->peer.next(), fileInfo(object, 0, 0));
    }
    open(*device, 2 * kMost + 1, u"/music/song.mp3", 5);
}

TEST_F(RootDirectory, WhatNobodyUsesDoesNotPileUp)
{
    share();
    const auto device = join();
    const auto host = hostOf(*device);
    constexpr int kMany = 3 * servingLimits::kMostIdleEntries;
    onNetworkThread([&] {
        for (int i = 0; i < kMany; ++i) {
            eboNfsMessages::Message message(eboNfsMessages::eFileRequest, static_cast<std::uint32_t>(i));
            message.path = QStringLiteral("/music/nowhere/%1").arg(i);
            root().processRequest(message, host.get());
            message.type = eboNfsMessages::eFileRelease;
            root().processRequest(message, host.get());
        }
        int served = 0;
        for (int i = 0; i < kMany; ++i) {
            if (root().servedFile(urlOf(music() + "/nowhere/" + std::to_string(i))))
                ++served;
        }
        EXPECT_LE(served, servingLimits::kMostIdleEntries);
        EXPECT_GT(served, 0);
    });
}

TEST_F(RootDirectory, WithoutAFactoryAFileRequestWaitsForItsRepetition)
{
    share();
    put("song.mp3", "12345");
    const auto device = join();
    const auto orphan =
        ebo::makeRef<eboNfsRootDirectory>(ebo::weakptr<eboNfs>(nfs()), ebo::weakptr<eboFileFactory>());
    const auto host = hostOf(*device);
    orphan->mountDirectory(urlOf(music()), QStringLiteral("music"), 0);
    eboNfsMessages::Message message(eboNfsMessages::eFileRequest, 3);
    message.path = QStringLiteral("/music/song.mp3");
    onNetworkThread([&] {
        EXPECT_TRUE(orphan->processRequest(message, host.get()));
        EXPECT_FALSE(orphan->processFiles());
        EXPECT_FALSE(orphan->servedFile(urlOf(music() + "/song.mp3")));
    });
    expectNothingMore(*device);
}

}  // namespace
