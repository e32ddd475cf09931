// Runs over links that lose, delay and hold back, and on files that change under them.

#include "network/peer/FrameRelay.h"
#include "network/sharing/SharingTest.h"

#include <unistd.h>

#include <filesystem>

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using testing::AnyOf;

QString folderOf(const TwoDevices& devices) { return QString::fromStdString(devices.folder.path()); }

class RoughWeather : public SharingTest {};

TEST_F(RoughWeather, OnePacketInFiftyIsLost)
{
    skipIf(NetworkNamespace::whyFails({QStringLiteral("nft add table inet weather")}));
    if (IsSkipped())
        return;
    const TwoDevices devices;
    const auto local = localRun(clicks(devices, "clicks.wav", 4));
    for (const NetworkNamespace* place : {&devices.a, &devices.b}) {
        place->run(QStringLiteral("nft add table inet weather"));
        place->run(QStringLiteral("nft add chain inet weather in { type filter hook input priority 0; }"));
        place->run(QStringLiteral(
            "nft add rule inet weather in ip saddr 10.0.0.0/24 numgen random mod 100 < 2 drop"));
    }
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    expectSame(host->run(share.url("clicks.wav")), local);
    expectQuits(*host);
}

TEST_F(RoughWeather, TenMegabitsASecond)
{
    const TwoDevices devices;
    const auto local = localRun(clicks(devices, "clicks.wav", 5));
    devices.limitRate(QStringLiteral("10mbit"));
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    expectSame(host->run(share.url("clicks.wav")), local);
    expectQuits(*host);
}

TEST_F(RoughWeather, ALongWay)
{
    skipIf(access("/dev/net/tun", R_OK | W_OK) == 0 ? "" : "the relay needs /dev/net/tun");
    if (IsSkipped())
        return;
    NetworkNamespace a;
    NetworkNamespace b;
    const peer::FrameRelay relay({a, "10.0.0.1/24"}, {b, "10.0.0.2/24"},
                                 {std::chrono::milliseconds(20), std::chrono::milliseconds(2), 3});
    const testsupport::TempDir folder;
    testsupport::encodeVorbis(folder.file("track.ogg"), testsupport::testPcm(220500, 44100, 1, 16));
    const auto local = localRun(folder.file("track.ogg"));
    const ShareProcess share(a, QString::fromStdString(folder.path()));
    const auto host = hostWithWorker(b);
    expectSame(host->run(share.url("track.ogg")), local);
    expectQuits(*host);
}

/// What another program does to a file is not told to those who read it; whatever they make of it, they come
/// to an end.
TEST_F(RoughWeather, FilesThatChangeUnderTheRun)
{
    const TwoDevices devices;
    const std::string track = clicks(devices, "clicks.wav", 20);
    devices.limitRate(QStringLiteral("40mbit"));
    const ShareProcess share(devices.a, folderOf(devices));
    const auto host = devices.hostOnB();
    const auto disturbed = [&](const std::string& name, const auto& disturb) {
        std::filesystem::copy_file(track, devices.folder.file(name));
        host->start(share.url(QByteArray::fromStdString(name)));
        for (int messages = 0; messages < 12; ++messages)
            static_cast<void>(host->next());
        disturb(devices.folder.file(name));
        return host->untilEnd().back().id;
    };
    EXPECT_EQ(disturbed("deleted.wav", [](const std::string& path) { std::filesystem::remove(path); }),
              kFinished)
        << "it is open, and so still there";
    EXPECT_EQ(disturbed("renamed.wav",
                        [](const std::string& path) { std::filesystem::rename(path, path + ".old"); }),
              kFinished);
    EXPECT_EQ(disturbed("changed.wav",
                        [](const std::string& path) {
                            const auto size = std::filesystem::file_size(path);
                            testsupport::writeWholeFile(path, std::string(size, '\x40'));
                        }),
              kFinished);
    EXPECT_THAT(disturbed("truncated.wav",
                          [](const std::string& path) { std::filesystem::resize_file(path, 1'500'000); }),
                AnyOf(kFinished, kError));
    EXPECT_EQ(host->run(share.url("clicks.wav")).back().id, kFinished);
    expectQuits(*host);
}

}  // namespace
