#include "host/devices/MountListing.h"

#include "network/nfs/NfsTest.h"
#include "support/eventually.h"

using namespace nfstest;
using testsupport::eventually;
using tunesift::host::MountListing;

namespace {

class MountListingTest : public NfsTest {
protected:
    ebo::refptr<MountListing> listing(const Device& device)
    {
        ebo::refptr<eboNfsHost> host;
        EXPECT_TRUE(nfs()->findHost(QUrl(device.url(QStringLiteral("/"))), host));
        return MountListing::request(*nfs(), host);
    }
};

TEST_F(MountListingTest, AsksForTheRootAndTellsItsNames)
{
    const auto device = join();
    const auto mounts = listing(*device);
    const std::uint32_t object = mounts->objectId();
    EXPECT_EQ(device->peer.next(), peer::nfs::directoryRequest(object, u"/"));
    EXPECT_TRUE(mounts->names().isEmpty());
    device->peer.send(peer::nfs::directoryInfo(object, true, 0xFFFFF, 0));
    device->peer.send(peer::nfs::directoryContents(object, {u"Music", u"Töne"}, true, true, true));
    EXPECT_TRUE(eventually([&] {
        return mounts->names() == QStringList{QStringLiteral("Music"), QStringLiteral("Töne")};
    }));
}

TEST_F(MountListingTest, PiecesMakeOneListingAndAFirstPieceBeginsAnew)
{
    const auto device = join();
    const auto mounts = listing(*device);
    const std::uint32_t object = mounts->objectId();
    device->peer.send(peer::nfs::directoryContents(object, {u"dropped"}, true, false, true));
    device->peer.send(peer::nfs::directoryContents(object, {u"a"}, true, false, true));
    device->peer.send(peer::nfs::directoryContents(object, {u"b"}, false, true, true));
    EXPECT_TRUE(eventually([&] {
        return mounts->names() == (QStringList{QStringLiteral("a"), QStringLiteral("b")});
    }));
    device->peer.send(peer::nfs::directoryContents(object, {}, true, true, true));
    EXPECT_TRUE(eventually([&] { return mounts->names().isEmpty(); }));
}

TEST_F(MountListingTest, EndlessListingsAreCutOff)
{
    const auto device = join();
    const auto mounts = listing(*device);
    const std::uint32_t object = mounts->objectId();
    const std::vector<std::u16string> hundred(100, u"again");
    device->peer.send(peer::nfs::directoryContents(object, hundred, true, false, true));
    for (int i = 0; i < 50; ++i)
        device->peer.send(peer::nfs::directoryContents(object, hundred, false, i == 49, true));
    EXPECT_TRUE(eventually([&] { return mounts->names().size() == MountListing::kMostNames; }));
}

TEST_F(MountListingTest, ItsEndIsTold)
{
    const auto device = join();
    auto mounts = listing(*device);
    const std::uint32_t object = mounts->objectId();
    static_cast<void>(device->peer.next());
    mounts.reset();
    EXPECT_EQ(device->peer.next(), peer::nfs::directoryRelease(object));
}

}  // namespace
