#include "network/nfs/eboNfsFileFactory.h"

#include "network/nfs/NfsTest.h"
#include "network/nfs/eboNfsFileAdapter.h"
#include "network/nfs/eboStdFileWitNfsNotification.h"
#include "support/TempDir.h"

#include <future>

#include <sys/stat.h>

using namespace nfstest;
using peer::nfs::received;

namespace {

constexpr std::int32_t kInfoRequest = 2001;
constexpr std::int32_t kFileRequest = 2004;

class EboNfsFileFactory : public NfsTest {
protected:
    ebo::refptr<eboFileFactory> makeFactory() override
    {
        netFactory_ = ebo::makeRef<eboNfsFileFactory>();
        return netFactory_;
    }

    ~EboNfsFileFactory() override
    {
        if (netFactory_)
            netFactory_->setNfs(nullptr);
    }

    std::unique_ptr<Device> joinServed()
    {
        auto device = join();
        netFactory_->setNfs(nfs());
        return device;
    }

    ebo::refptr<eboFile> open(const QString& path)
    {
        return netFactory_->open(path.toUtf8().constData(), {});
    }

    std::future<bool> existing(const QString& path, int mode)
    {
        return std::async(std::launch::async, [factory = netFactory_, path, mode] {
            return factory->fileExists(path.toUtf8().constData(), mode);
        });
    }

    ebo::refptr<eboNfsFileFactory> netFactory_;
};

TEST_F(EboNfsFileFactory, BothFormsOfAPathLeadToOneFile)
{
    const auto device = joinServed();
    const auto one = open(device->url(QStringLiteral("/Music/a b?.flac")));
    const auto other = open(QStringLiteral("/net:/") + device->uuid() + QStringLiteral("/Music/a b?.flac"));
    ASSERT_TRUE(one);
    ASSERT_TRUE(other);
    EXPECT_FALSE(one == other);
    EXPECT_EQ(nfs()->getFile(QUrl(device->url(QStringLiteral("/Music/a%20b%3F.flac"))), false)->objectId(),
              1U);
    EXPECT_STREQ(one->filePath(), other->filePath());
    EXPECT_TRUE(ebo::dynamicCast<eboNfsFileAdapter>(one));
}

TEST_F(EboNfsFileFactory, ABlankAndAQuestionMarkTravelAsTheyAre)
{
    const auto device = joinServed();
    const auto file = open(device->url(QStringLiteral("/Music/50% a b?#.flac")));
    auto opened = std::async(std::launch::async, [file] { return file->open(eboFile::OpenRead); });
    auto request = received(device->peer.next());
    EXPECT_EQ(request.type, kFileRequest);
    EXPECT_EQ(request.body.text(), u"/Music/50% a b?#.flac");
    device->peer.send(peer::nfs::fileInfo(request.object, 0));
    EXPECT_TRUE(opened.get());
}

TEST_F(EboNfsFileFactory, APathThatOnlyBeginsLikeOneIsLocal)
{
    const auto device = joinServed();
    for (const char* path : {"/net", "/network/x", "/net:x", "net:/x"}) {
        const auto file = netFactory_->open(path, {});
        EXPECT_TRUE(ebo::dynamicCast<eboStdFileWitNfsNotification>(file)) << path;
        EXPECT_STREQ(file->filePath(), path);
    }
}

TEST_F(EboNfsFileFactory, AnUnknownDeviceHasNoFiles)
{
    const auto device = joinServed();
    EXPECT_FALSE(netFactory_->open("net://00000000-0000-4000-8000-00000000ffff/a", {}));
    EXPECT_FALSE(netFactory_->open("net://nonsense", {}));
    EXPECT_FALSE(netFactory_->fileExists("net://00000000-0000-4000-8000-00000000ffff/a", 0));
    EXPECT_FALSE(netFactory_->fileExists("net://00000000-0000-4000-8000-00000000ffff/a", 1));
}

TEST_F(EboNfsFileFactory, WithoutFileSharingEverythingIsLocal)
{
    const auto factory = ebo::makeRef<eboNfsFileFactory>();
    const auto file = factory->open("net://00000000-0000-4000-8000-000000000001/a", {});
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->open(eboFile::OpenRead));
    EXPECT_FALSE(factory->fileExists("net://00000000-0000-4000-8000-000000000001/a", 0));
}

TEST_F(EboNfsFileFactory, ExistenceIsAskedFor)
{
    const auto device = joinServed();
    auto exists = existing(device->url(QStringLiteral("/a")), 0);
    const auto request = received(device->peer.next());
    EXPECT_EQ(request.type, kInfoRequest);
    const peer::Bytes time = peer::number64(2458851) + peer::number32(0) + "\1";
    device->peer.send(peer::nfs::header(request.object, 1) + "\1" + peer::Bytes(1, '\0') + peer::number32(0) +
                      time + time + time + peer::number64(5));
    EXPECT_TRUE(exists.get());
}

TEST_F(EboNfsFileFactory, ADeviceThatGoesEndsTheQuestion)
{
    const auto device = joinServed();
    auto exists = existing(device->url(QStringLiteral("/a")), 0);
    static_cast<void>(device->peer.next());
    leave(*device);
    EXPECT_FALSE(exists.get());
}

TEST_F(EboNfsFileFactory, ReadingAndWritingAreTriedByOpening)
{
    const auto device = joinServed();
    for (const int mode : {1, 2}) {
        auto exists = existing(device->url(QStringLiteral("/file%1").arg(mode)), mode);
        const auto request = received(device->peer.next());
        EXPECT_EQ(request.type, kFileRequest);
        device->peer.send(peer::nfs::fileInfo(request.object, 7));
        EXPECT_TRUE(exists.get()) << mode;
        EXPECT_EQ(device->peer.next(), peer::nfs::fileRelease(request.object));
    }
    auto missing = existing(device->url(QStringLiteral("/missing")), 1);
    device->peer.send(peer::nfs::fileInfo(received(device->peer.next()).object, 0, 0));
    EXPECT_FALSE(missing.get());
    EXPECT_FALSE(netFactory_->fileExists(device->url(QStringLiteral("/a")).toUtf8().constData(), 3));
}

TEST_F(EboNfsFileFactory, LocalPathsAreLookedUpHere)
{
    const auto device = joinServed();
    const testsupport::TempDir folder;
    const std::string path = folder.file("here");
    const auto file = netFactory_->open(path.c_str(), {});
    ASSERT_TRUE(file->open(eboFile::OpenWrite | eboFile::OpenBinary));
    file->close();
    ::chmod(path.c_str(), 0400);
    EXPECT_TRUE(netFactory_->fileExists(path.c_str(), 0));
    EXPECT_TRUE(netFactory_->fileExists(path.c_str(), 1));
    EXPECT_FALSE(netFactory_->fileExists(path.c_str(), 2));
    EXPECT_EQ(netFactory_->deleteFile(file), 0);
    EXPECT_FALSE(netFactory_->fileExists(path.c_str(), 0));
    EXPECT_EQ(netFactory_->deleteFile(nullptr), -1);
}

}  // namespace
