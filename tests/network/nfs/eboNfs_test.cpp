#include "network/nfs/eboNfs.h"

#include "network/nfs/NfsTest.h"
#include "support/LogCapture.h"
#include "support/eventually.h"

#include <QLoggingCategory>

#include <atomic>

using namespace nfstest;
using namespace std::chrono_literals;
using peer::nfs::received;
using testsupport::eventually;

namespace {

class EboNfs : public NfsTest {
protected:
    static QUrl urlOn(const Device& device, const char* path)
    {
        return QUrl(device.url(QString::fromLatin1(path)));
    }
    bool knows(const Device& device)
    {
        ebo::refptr<eboNfsHost> found;
        return nfs()->findHost(urlOn(device, "/"), found) && found->uuid() == device.host->uuid();
    }
    QStringList listed()
    {
        bool complete = false;
        QStringList names;
        onNetworkThread([&] { names = nfs()->hostDirectory()->entries(&complete); });
        EXPECT_TRUE(complete);
        return names;
    }
};

TEST_F(EboNfs, DevicesThatShareFilesAreFoundByTheirUrl)
{
    const auto one = join(1);
    const auto two = join(2);
    EXPECT_TRUE(knows(*one));
    EXPECT_TRUE(knows(*two));
    EXPECT_EQ(listed(), (QStringList{one->uuid(), two->uuid()}));
    leave(*one);
    EXPECT_FALSE(knows(*one));
    EXPECT_TRUE(knows(*two));
    EXPECT_EQ(listed(), QStringList{two->uuid()});
}

TEST_F(EboNfs, OtherUrlsNameNoFile)
{
    const auto device = join();
    for (const QString& url :
         {QStringLiteral("http://") + device->uuid() + QStringLiteral("/a"), QStringLiteral("net://nobody/a"),
          QStringLiteral("net:///a"), QStringLiteral("net://00000000-0000-0000-0000-000000000000/a"),
          QStringLiteral("net://00000000-0000-4000-8000-0000000000ff/a")}) {
        EXPECT_FALSE(nfs()->getFile(QUrl(url), false)) << url.toStdString();
        EXPECT_FALSE(nfs()->getInfo(QUrl(url))) << url.toStdString();
    }
}

TEST_F(EboNfs, OneFileForOneUrl)
{
    const auto device = join();
    const auto file = nfs()->getFile(urlOn(*device, "/a"), false);
    ASSERT_TRUE(file);
    EXPECT_EQ(nfs()->getFile(urlOn(*device, "/a"), true), file);
    EXPECT_FALSE(nfs()->getFile(urlOn(*device, "/b"), false) == file);
    leave(*device);
    EXPECT_TRUE(file->isUnavailable());
    EXPECT_FALSE(nfs()->getFile(urlOn(*device, "/a"), false));
}

TEST_F(EboNfs, ADisconnectedDeviceMakesItsFilesUnavailableWithoutAMessage)
{
    const auto device = join();
    const auto file = nfs()->getFile(urlOn(*device, "/a"), false);
    EXPECT_FALSE(file->isUnavailable());
    disconnect(*device);
    EXPECT_TRUE(file->isUnavailable());
    const auto next = nfs()->getFile(urlOn(*device, "/a"), false);
    EXPECT_FALSE(next == file);
    EXPECT_NE(next->objectId(), file->objectId());
}

TEST_F(EboNfs, AnUnavailableObjectIsMadeAnew)
{
    const auto device = join();
    const auto file = nfs()->getFile(urlOn(*device, "/a"), false);
    device->peer.send(peer::nfs::objectUnavailable(file->objectId()));
    EXPECT_TRUE(eventually([&] { return file->isUnavailable(); }));
    const auto next = nfs()->getFile(urlOn(*device, "/a"), false);
    EXPECT_GT(next->objectId(), file->objectId());
    EXPECT_FALSE(next->isUnavailable());
}

TEST_F(EboNfs, AnswersForNobodyChangeNothing)
{
    const testsupport::LogCapture log;
    const auto device = join();
    device->peer.send(peer::nfs::objectUnavailable(999));
    device->peer.send(peer::nfs::fileInfo(999, 1));
    device->peer.send(peer::nfs::directoryInfo(998, true, 0, 0));
    device->peer.send(peer::nfs::directoryContents(997, {u"a"}, true, true, false));
    EXPECT_TRUE(eventually(
        [&] { return log.contains("Received directory content (\"a\") for unknown object 997"); }));
    EXPECT_TRUE(log.contains("Received file info for unknown object 999"));
    EXPECT_TRUE(log.contains("Received directory info for unknown object 998"));
}

TEST_F(EboNfs, AnswersForObjectsThatHaveGoneAreDropped)
{
    const testsupport::LogCapture log;
    // The line about an object that is unavailable is for the curious.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=true"));
    const auto device = join();
    auto ended = nfs()->getFile(urlOn(*device, "/ended"), false);
    const auto unavailable = nfs()->getFile(urlOn(*device, "/unavailable"), false);
    unavailable->setIsUnavailable();
    const std::uint32_t endedId = ended->objectId();
    ended.reset();
    for (int i = 0; i < 2; ++i) {
        device->peer.send(peer::nfs::directoryInfo(endedId, true, 0, 0));
        device->peer.send(peer::nfs::fileInfo(unavailable->objectId(), 1));
    }
    const std::string number = std::to_string(unavailable->objectId());
    EXPECT_TRUE(eventually([&] { return log.contains("Received file info for unknown object " + number); }))
        << "the second time nobody knows it any more";
    EXPECT_TRUE(log.contains("Received message for unavailable object?!"));
    EXPECT_TRUE(
        log.contains("Received directory info for NO LONGER AVAILABLE object id " + std::to_string(endedId)));
    EXPECT_TRUE(log.contains("Received directory info for unknown object " + std::to_string(endedId)));
    QLoggingCategory::setFilterRules(QString());
    EXPECT_EQ(unavailable->size(), 0);
}

TEST_F(EboNfs, NobodyAnswersInTheNameOfAnother)
{
    const testsupport::LogCapture log;
    const auto asked = join(1);
    const auto other = join(2);
    const auto file = nfs()->getFile(urlOn(*asked, "/a"), false);
    other->peer.send(peer::nfs::fileInfo(file->objectId(), 666));
    other->peer.send(peer::nfs::objectUnavailable(file->objectId()));
    other->peer.send(peer::nfs::syncRequest(77));
    EXPECT_EQ(other->peer.next(), peer::nfs::objectUnavailable(77)) << "what came before is done";
    EXPECT_EQ(file->size(), 0);
    EXPECT_EQ(file->status(), eboNfsFile::Status::Uninitialized);
    EXPECT_FALSE(file->isUnavailable());
    EXPECT_TRUE(log.contains("Received an answer for an object of another host:"));
    asked->peer.send(peer::nfs::fileInfo(file->objectId(), 5));
    EXPECT_TRUE(eventually([&] { return file->size() == 5; }));
    EXPECT_EQ(nfs()->getFile(urlOn(*asked, "/a"), false), file);
}

TEST_F(EboNfs, WhatLiesBelowSomethingUnmountedIsUnavailable)
{
    const auto device = join();
    const auto below = nfs()->getFile(urlOn(*device, "/music/a"), false);
    const auto info = nfs()->getInfo(urlOn(*device, "/music/b"));
    const auto beside = nfs()->getFile(urlOn(*device, "/other/a"), false);
    onNetworkThread([&] { nfs()->onUnmountDirectoryFinished(urlOn(*device, "/music")); });
    EXPECT_TRUE(below->isUnavailable());
    EXPECT_TRUE(info->isUnavailable());
    EXPECT_FALSE(beside->isUnavailable());
    EXPECT_FALSE(nfs()->getFile(urlOn(*device, "/music/a"), false) == below);
    EXPECT_FALSE(nfs()->getInfo(urlOn(*device, "/music/b")) == info);
    EXPECT_EQ(nfs()->getFile(urlOn(*device, "/other/a"), false), beside);
}

TEST_F(EboNfs, ADeviceWithoutAnIdentityIsNotListed)
{
    const auto device = join();
    ebo::refptr<eboNetworkExchange::Host> nobody;
    onNetworkThread([&] {
        auto discovered = ebo::makeRef<eboDiscoverer::Host>(QUuid(), QStringLiteral("nobody"), quint16{1},
                                                            QStringLiteral("1"), QStringLiteral("Other"));
        discovered->retire();
        nobody = ebo::makeRef<eboNetworkExchange::Host>(discovered, QUuid::createUuid(),
                                                        std::make_shared<eboNetworkExchange::ThreadCalls>());
        nfs()->onHostAdded(nobody);
    });
    EXPECT_EQ(nfs()->hosts().size(), 2);
    EXPECT_EQ(listed(), QStringList{device->uuid()});
    onNetworkThread([&] {
        nfs()->onHostRemoved(nobody);
        nobody->shutDown();
    });
}

TEST_F(EboNfs, ADeviceTellsItsName)
{
    const auto device = join();
    ebo::refptr<eboNfsHost> host;
    ASSERT_TRUE(nfs()->findHost(urlOn(*device, "/"), host));
    EXPECT_TRUE(host->name().isNull());
    const auto changes = std::make_shared<std::atomic<int>>(0);
    QObject::connect(
        host.get(), &eboNfsHost::nameChanged, host.get(), [changes] { ++*changes; }, Qt::DirectConnection);
    device->peer.send(peer::nfs::deviceInfo(u"box"));
    device->peer.send(peer::nfs::deviceInfo(u"box"));
    device->peer.send(peer::nfs::deviceInfo(u"Küche"));
    EXPECT_TRUE(eventually([&] { return host->name() == QStringLiteral("Küche"); }));
    settle();
    EXPECT_EQ(*changes, 2);
}

TEST_F(EboNfs, TellsItsOwnNameToThoseWhoComeAndToThoseWhoAreThere)
{
    const auto device = join();
    nfs()->setDeviceName(QStringLiteral("me"));
    onNetworkThread([&] { nfs()->writeHostInfoMessageToKnownHosts(); });
    EXPECT_EQ(device->peer.next(), peer::nfs::deviceInfo(u"me"));
}

TEST_F(EboNfs, ADeviceAddedTwiceIsWarnedOf)
{
    const testsupport::LogCapture log;
    const auto device = join();
    onNetworkThread([&] { nfs()->onHostAdded(device->host); });
    EXPECT_TRUE(log.contains("host added which is already known:"));
    EXPECT_EQ(nfs()->hosts().size(), 1);
    leave(*device);
    onNetworkThread([&] { nfs()->onHostRemoved(device->host); });
    EXPECT_TRUE(log.contains("Host removed that wasn't registered!"));
}

TEST_F(EboNfs, TheListOfDevicesFinishesAlsoWithoutAChange)
{
    const auto device = join();
    int finished = 0;
    const auto& directory = nfs()->hostDirectory();
    onNetworkThread([&] {
        const auto counting = QObject::connect(directory.get(), &eboNfsDirectory::finished, directory.get(),
                                               [&] { ++finished; });
        directory->onHostsChanged();
        directory->onHostsChanged();
        QObject::disconnect(counting);
    });
    EXPECT_EQ(finished, 2);
    EXPECT_TRUE(directory->hasDirectories());
    EXPECT_EQ(directory->url(), QUrl(QStringLiteral("net://")));
}

TEST_F(EboNfs, TheLast126InfosLiveOn)
{
    const auto device = join();
    const auto infoOf = [&](int number) {
        return nfs()->getInfo(QUrl(device->url(QStringLiteral("/%1").arg(number))));
    };
    const ebo::weakptr<eboNfsInfo> first(infoOf(0));
    for (int number = 1; number < 126; ++number)
        EXPECT_TRUE(infoOf(number));
    EXPECT_TRUE(first.isValid());
    EXPECT_TRUE(infoOf(126));
    EXPECT_FALSE(first.isValid());
}

TEST_F(EboNfs, ARequestForAnUnknownObjectIsAnswered)
{
    const testsupport::LogCapture log;
    const auto device = join();
    device->peer.send(peer::nfs::syncRequest(77));
    EXPECT_EQ(device->peer.next(), peer::nfs::objectUnavailable(77));
}

TEST_F(EboNfs, ProcessingTwiceInARowRestsWhenNothingIsLeft)
{
    const auto device = join();
    nfs()->triggerProcessing();
    nfs()->triggerProcessing();
    settle();
    settle();
    EXPECT_FALSE(nfs()->isProcessingPending());
}

TEST_F(EboNfs, NothingCanBeOpenedOnceEverythingHasEnded)
{
    const auto device = join();
    const auto file = nfs()->getFile(urlOn(*device, "/a"), false);
    nfs()->makeEverythingUnavailable();
    EXPECT_TRUE(file->isUnavailable());
    EXPECT_FALSE(nfs()->getFile(urlOn(*device, "/a"), false));
    EXPECT_FALSE(nfs()->getInfo(urlOn(*device, "/a")));
}

TEST_F(EboNfs, GarbageInPacketsIsSkipped)
{
    const auto device = join();
    device->peer.send("garbage that is no message");
    device->peer.send("");
    device->peer.send(peer::nfs::deviceInfo(u"still here"));
    ebo::refptr<eboNfsHost> host;
    ASSERT_TRUE(nfs()->findHost(urlOn(*device, "/"), host));
    EXPECT_TRUE(eventually([&] { return host->name() == QStringLiteral("still here"); }));
}

}  // namespace
