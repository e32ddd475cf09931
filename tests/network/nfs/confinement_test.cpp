// What devices can reach where sharing is confined to the mounted directories: nothing else, whatever they
// ask for, and whatever becomes of the disk meanwhile.

#include "network/nfs/ServingTest.h"

#include <algorithm>

using namespace nfstest;
using namespace peer::nfs;

namespace fs = std::filesystem;

namespace {

class Confinement : public ServingTest {
protected:
    Confinement()
    {
        fs::create_directories(secret());
        testsupport::writeWholeFile(secret() + "/diary", "secret");
        fs::create_directories(music() + "/folder");
        put("song", "12345");
        put("folder/song", "123");
    }

    [[nodiscard]] std::string secret() const { return dir() + "/secret"; }

    /// The device tries everything on a file; nothing must work.
    static void expectNoFile(Device& device, const std::u16string& path)
    {
        device.peer.send(fileRequest(9, path));
        EXPECT_EQ(device.peer.next(), fileInfo(9, 0, 0));
    }
    void expectSecretUntouched() const
    {
        EXPECT_EQ(testsupport::readWholeFile(secret() + "/diary"), "secret");
        EXPECT_EQ(std::distance(fs::directory_iterator(secret()), fs::directory_iterator()), 1);
    }
};

TEST_F(Confinement, NothingOutsideExists)
{
    fs::create_directory_symlink(secret(), music() + "/door");
    fs::create_symlink(secret() + "/diary", music() + "/window");
    fs::create_symlink(secret() + "/new", music() + "/deadWindow");
    share({.confined = true}, 777);
    const auto device = join();
    for (const char16_t* path :
         {u"/music/../secret/diary", u"/music/../secret/new", u"/music/door/diary", u"/music/door/new",
          u"/music/window", u"/music/folder/../../secret/diary", u"/music/door/../secret/diary"}) {
        expectNoFile(*device, path);
        device->peer.send(infoRequest(5, path));
        auto info = received(device->peer.next());
        EXPECT_FALSE(info.body.boolean());
    }
    expectNoFile(*device, u"/music/deadWindow");
    for (const char16_t* path : {u"/music/..", u"/music/door", u"/music/../secret", u"/music/folder/../.."}) {
        device->peer.send(directoryRequest(5, path));
        EXPECT_EQ(device->peer.next(), directoryInfo(5, false, 0, kNoLimit));
    }
    expectNothingMore(*device);
    expectSecretUntouched();
}

TEST_F(Confinement, WhatIsInsideIsServed)
{
    fs::create_symlink("folder/song", music() + "/link");
    share({.confined = true}, 777);
    const auto device = join();
    open(*device, 3, u"/music/song", 5);
    open(*device, 4, u"/music/folder/../song", 5);
    open(*device, 5, u"/music/link", 3);
    open(*device, 6, u"/music/new", 0);
    EXPECT_TRUE(fs::exists(music() + "/new"));
    device->peer.send(dataRequest(5, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(5, 0, "123"));
    // One file, by whatever path: a change is told to both.
    device->peer.send(truncateRequest(3, 1));
    EXPECT_EQ(device->peer.next(), dataInvalid(3, {{0, 0}}, 1));
    EXPECT_EQ(device->peer.next(), dataInvalid(4, {{0, 0}}, 1));
    EXPECT_EQ(device->peer.next(), truncateResponse(3, true, 1));
    onNetworkThread([&] { root().unmountDirectory(urlOf(music())); });
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(received(device->peer.next()).type, 9);
}

TEST_F(Confinement, ListingsDoNotShowTheWayOut)
{
    fs::create_directory_symlink(secret(), music() + "/door");
    fs::create_symlink(secret() + "/diary", music() + "/window");
    fs::create_symlink("song", music() + "/link");
    share({.confined = true}, 777);
    const auto device = join();
    device->peer.send(directoryRequest(5, u"/music"));
    auto info = received(device->peer.next());
    EXPECT_TRUE(info.body.boolean());
    EXPECT_EQ(device->peer.next(), directoryContents(5, {u"folder"}, true, false, true));
    auto contents = received(device->peer.next());
    ASSERT_EQ(contents.body.number(4), 2U);
    std::vector<std::u16string> names{contents.body.text(), contents.body.text()};
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::u16string>{u"link", u"song"}));
}

/// Opens what has been looked at, but swaps something for a link just before.
class SwappingFactory : public eboFileFactory {
public:
    std::function<void()> swap;

    ebo::refptr<eboFile> open(const char* path, Options options) override
    {
        auto file = eboFileFactory::open(path, options);
        swap();
        return file;
    }
};

class SwappedConfinement : public Confinement {
protected:
    ebo::refptr<eboFileFactory> makeFactory() override { return swapping_; }

    const ebo::refptr<SwappingFactory> swapping_ = ebo::makeRef<SwappingFactory>();
};

TEST_F(SwappedConfinement, ALinkThatIsSwappedInBeforeOpeningOpensNothing)
{
    share({.confined = true});
    const auto device = join();
    swapping_->swap = [this] {
        fs::remove(music() + "/song");
        fs::create_symlink(secret() + "/diary", music() + "/song");
    };
    expectNoFile(*device, u"/music/song");
    device->peer.send(truncateRequest(9, 0));
    EXPECT_EQ(device->peer.next(), truncateResponse(9, false, 0));

    swapping_->swap = [this] {
        fs::rename(music() + "/folder", music() + "/before");
        fs::create_directory_symlink(secret(), music() + "/folder");
    };
    device->peer.send(fileRelease(9));
    expectNoFile(*device, u"/music/folder/diary");
    device->peer.send(deleteRequest(9));
    EXPECT_EQ(device->peer.next(), deleteResponse(9, false));
    expectSecretUntouched();
}

TEST_F(Confinement, AnOpenFileIsNotDeletedThroughALinkThatCameLater)
{
    testsupport::writeWholeFile(secret() + "/song", "secret song");
    share({.confined = true});
    const auto device = join();
    open(*device, 3, u"/music/folder/song", 3);
    fs::rename(music() + "/folder", music() + "/before");
    fs::create_directory_symlink(secret(), music() + "/folder");
    device->peer.send(deleteRequest(3));
    EXPECT_EQ(device->peer.next(), deleteResponse(3, false));
    EXPECT_EQ(testsupport::readWholeFile(secret() + "/song"), "secret song");
}

TEST_F(Confinement, ADirectoryIsNotListedThroughALinkThatCameLater)
{
    share({.confined = true});
    const auto device = join();
    device->peer.send(directoryRequest(5, u"/music/folder"));
    EXPECT_EQ(received(device->peer.next()).type, 2);
    EXPECT_EQ(device->peer.next(), directoryContents(5, {u"song"}, true, true, false));
    fs::rename(music() + "/folder", dir() + "/before");
    fs::create_directory_symlink(secret(), music() + "/folder");
    onNetworkThread([&] {
        const eboUtils::file::DirectoryContentHandle handle(QByteArray::fromStdString(music() + "/folder"),
                                                            LinkPolicy::kRefuse);
        EXPECT_EQ(handle.entryList(QDir::Files), QStringList());
    });
    device->peer.send(directoryRequest(6, u"/music/folder"));
    // A listing anew of the first one may come before; what it cannot hold is the diary.
    for (;;) {
        auto message = received(device->peer.next());
        if (message.type == 2) {
            EXPECT_EQ(message.object, 6U);
            EXPECT_FALSE(message.body.boolean());
            break;
        }
        EXPECT_EQ(message.body.number(4), 0U);
    }
}

TEST_F(Confinement, TogetherWithReadOnlyNothingCanChange)
{
    share({.confined = true, .readOnly = true, .plainNames = true});
    const auto device = join();
    expectNoFile(*device, u"/music/new");
    expectNoFile(*device, u"/music/../secret/new");
    EXPECT_FALSE(fs::exists(music() + "/new"));
    open(*device, 3, u"/music/song", 5);
    device->peer.send(dataRequest(3, {{0, 0}}));
    EXPECT_EQ(device->peer.next(), fileData(3, 0, "12345"));
    expectSecretUntouched();
}

}  // namespace
