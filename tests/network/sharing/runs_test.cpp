// Tracks on another device, analysed by the real worker.

#include "network/sharing/SharingTest.h"

#include <QFile>

#include <filesystem>

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using testing::ElementsAre;

class RemoteRuns : public SharingTest {};

QString folderOf(const TwoDevices& devices) { return QString::fromStdString(devices.folder.path()); }

TEST_F(RemoteRuns, GiveByteForByteWhatALocalRunGives)
{
    const TwoDevices devices;
    const auto sound = testsupport::testPcm(441000, 44100, 2, 16);
    clicks(devices, "clicks.wav", 12);
    testsupport::encodeFlac(devices.folder.file("track.flac"), sound);
    testsupport::encodeVorbis(devices.folder.file("track.ogg"), sound);
    testsupport::makeAudioFile(devices.folder.file("track.mp3"), 10, 44100, 2);
    testsupport::makeAudioFile(devices.folder.file("track.m4a"), 10, 48000, 2);
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    for (const char* name : {"clicks.wav", "track.flac", "track.ogg", "track.mp3", "track.m4a"}) {
        SCOPED_TRACE(name);
        const auto local = localRun(devices.folder.file(name));
        EXPECT_EQ(local.back().id, kFinished);
        expectSame(host->run(share.url(name)), local);
    }
    expectQuits(*host);
}

TEST_F(RemoteRuns, TheFormWithoutTheDoubleSlashTakesTheSameRoad)
{
    const TwoDevices devices;
    const auto local = localRun(clicks(devices, "clicks.wav", 5));
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    expectSame(host->run(share.url("clicks.wav").replace("net://", "/net:/")), local);
    expectQuits(*host);
}

TEST_F(RemoteRuns, NamesMayBeAnything)
{
    const TwoDevices devices;
    const auto local = localRun(clicks(devices, "plain.wav", 5));
    const std::vector<std::string> names{"with blanks in it.wav",
                                         "Zoë Überall.wav",
                                         "😀 emoji.wav",
                                         "a:b.wav",
                                         "What?.wav",
                                         "100% #1 [x] & more.wav",
                                         "back\\slash|pipe*.wav",
                                         "..dots.. at the end.wav",
                                         "\"quoted\" <x>.wav"};
    std::filesystem::create_directory(devices.folder.file("sub. "));
    std::filesystem::create_directory(devices.folder.file("end."));
    std::filesystem::copy_file(devices.folder.file("plain.wav"), devices.folder.file("sub. /inside.wav"));
    std::filesystem::copy_file(devices.folder.file("plain.wav"), devices.folder.file("end./inside.wav"));
    for (const std::string& name : names)
        std::filesystem::copy_file(devices.folder.file("plain.wav"), devices.folder.file(name));
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        expectSame(host->run(share.url(QByteArray::fromStdString(name))), local);
    }
    expectSame(host->run(share.url("sub. /inside.wav")), local);
    expectSame(host->run(share.url("end./inside.wav")), local);
    expectQuits(*host);
}

TEST_F(RemoteRuns, WhatIsNotThereIsAnErrorAfterTheStart)
{
    const TwoDevices devices;
    clicks(devices, "clicks.wav", 5);
    testsupport::writeWholeFile(devices.folder.file("empty.wav"), "");
    testsupport::writeWholeFile(devices.folder.file("text.wav"), "no sound");
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    for (const char* name : {"missing.wav", "empty.wav", "text.wav", "", "../etc/passwd", "clicks.wav/x"})
        EXPECT_THAT(ids(host->run(share.url(name))), ElementsAre(kStarted, kError)) << name;
    const QByteArray noMount = "net://" + share.uuid().toLatin1() + "/Other/clicks.wav";
    EXPECT_THAT(ids(host->run(noMount)), ElementsAre(kStarted, kError));
    EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
    expectQuits(*host);
}

TEST_F(RemoteRuns, NothingOutsideTheFolderIsShared)
{
    const TwoDevices devices;
    const testsupport::TempDir outside;
    const std::string secret = outside.file("secret.wav");
    std::filesystem::create_directory(devices.folder.file("sub"));
    clicks(devices, "clicks.wav", 5);
    std::filesystem::copy_file(devices.folder.file("clicks.wav"), secret);
    std::filesystem::create_symlink(secret, devices.folder.file("link.wav"));
    std::filesystem::create_directory_symlink(outside.path(), devices.folder.file("way"));
    std::filesystem::create_symlink("clicks.wav", devices.folder.file("inner.wav"));
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    const std::string up = "../" + std::filesystem::path(outside.path()).filename().string() + "/secret.wav";
    for (const std::string& name :
         {std::string("link.wav"), std::string("way/secret.wav"), up, "sub/../" + up})
        EXPECT_THAT(ids(host->run(share.url(QByteArray::fromStdString(name)))), ElementsAre(kStarted, kError))
            << name;
    EXPECT_EQ(host->run(share.url("inner.wav")).back().id, kFinished) << "a link that stays inside";
    EXPECT_EQ(host->run(share.url("sub/../clicks.wav")).back().id, kFinished);
    expectQuits(*host);
}

TEST_F(RemoteRuns, EachHasAnIdentityOfItsOwn)
{
    const TwoDevices devices;
    clicks(devices, "clicks.wav", 5);
    ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    for (int run = 0; run < 2; ++run)
        EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
    EXPECT_TRUE(
        until([&] { return share.count(QStringLiteral("released"), QStringLiteral("/clicks.wav")) >= 2; }));
    const QStringList visitors = share.visitors();
    ASSERT_GE(visitors.size(), 2);
    EXPECT_NE(visitors.first(), visitors.last());
    expectQuits(*host);
}

TEST_F(RemoteRuns, TheNetworkIsUpForTheirLengthOnly)
{
    const TwoDevices devices;
    const QByteArray track = QByteArray::fromStdString(clicks(devices, "clicks.wav", 5));
    const auto host = devices.hostOnB();
    const auto beacons = [&] { return devices.b.run(QStringLiteral("ss -Haun sport = 51337")); };
    EXPECT_EQ(host->run(track).back().id, kFinished);
    EXPECT_EQ(beacons(), QString());
    const ShareProcess share(devices.a, folderOf(devices));
    int threads = 0;
    int descriptors = 0;
    for (int run = 0; run < 3; ++run) {
        EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
        // A further command is taken only once the network is down.
        EXPECT_EQ(host->run(track).back().id, kFinished);
        EXPECT_EQ(beacons(), QString());
        EXPECT_TRUE(devices.isQuietOnB());
        if (run == 0) {  // Qt keeps a thread that watches the interfaces from then on
            threads = threadsOf(host->workerPid());
            descriptors = descriptorsOf(host->workerPid());
        }
        EXPECT_TRUE(until([&] { return threadsOf(host->workerPid()) <= threads; }));
        EXPECT_TRUE(until([&] { return descriptorsOf(host->workerPid()) <= descriptors; }));
    }
    expectQuits(*host);
}

TEST_F(RemoteRuns, TwoWorkersReadOneFileAtOnce)
{
    TwoDevices devices;
    const auto local = localRun(clicks(devices, "clicks.wav", 20));
    const ShareProcess share(devices.a, folderOf(devices));
    NetworkNamespace c;
    devices.wire.plug(c, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24")});
    const auto one = devices.hostOnB();
    const auto other = hostWithWorker(c);
    one->start(share.url("clicks.wav"));
    other->start(share.url("clicks.wav"));
    expectSame(one->untilEnd(), local);
    expectSame(other->untilEnd(), local);
    expectQuits(*one);
    expectQuits(*other);
}

TEST_F(RemoteRuns, AnUnknownDeviceIsWaitedForWithoutAWord)
{
    const TwoDevices devices;
    const std::string track = clicks(devices, "clicks.wav", 5);
    const auto host = devices.hostOnB();
    host->start("net://00000000-0000-4000-8000-000000000001/Music/clicks.wav");
    host->send(kStop);  // nothing to stop yet
    // Commands are still taken: a local run goes on at once, and its messages are the first.
    const auto messages = host->run(QByteArray::fromStdString(track));
    EXPECT_EQ(messages.front().id, kStarted);
    EXPECT_EQ(messages.back().id, kFinished);
    expectQuits(*host);
}

}  // namespace
