// What `tunesift share` and `tunesift devices` say of each other, and how they end.

#include "network/sharing/SharingTest.h"
#include "network/world/DeviceProcess.h"

#include <QJsonArray>

#include <csignal>

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;

class Commands : public SharingTest {};

QStringList sharesOf(const world::DeviceProcess& device, const QString& uuid)
{
    return device.device(uuid).value(QLatin1String("shares")).toVariant().toStringList();
}

TEST_F(Commands, DevicesShowWhatIsShared)
{
    const TwoDevices devices;
    const world::DeviceProcess watching(devices.b);
    ShareProcess share(devices.a, QString::fromStdString(devices.folder.path()));
    EXPECT_TRUE(
        until([&] { return sharesOf(watching, share.uuid()) == QStringList{QStringLiteral("Music")}; }));
    share.signal(SIGINT);
    EXPECT_EQ(share.waitForEnd(), 128 + SIGINT);
    EXPECT_TRUE(until([&] { return !watching.sees(share.uuid()); }));
    EXPECT_EQ(share.log().count(QStringLiteral("rror")), 0) << share.log().toStdString();
}

TEST_F(Commands, EachFileThatIsOpenedAndReleasedIsALine)
{
    const TwoDevices devices;
    clicks(devices, "one.wav", 5);
    clicks(devices, "two.wav", 5);
    ShareProcess share(devices.a, QString::fromStdString(devices.folder.path()));
    const auto host = devices.hostOnB();
    for (const char* name : {"one.wav", "two.wav"})
        EXPECT_EQ(host->run(share.url(name)).back().id, kFinished);
    for (const char* name : {"/one.wav", "/two.wav"}) {
        const QString end = QString::fromLatin1(name);
        EXPECT_TRUE(until([&] { return share.count(QStringLiteral("released"), end) >= 1; }));
        EXPECT_EQ(share.count(QStringLiteral("opened"), end), share.count(QStringLiteral("released"), end));
    }
    expectQuits(*host);
}

TEST_F(Commands, SharingEndsWithReadersAtWork)
{
    const TwoDevices devices;
    clicks(devices, "clicks.wav", 20);
    devices.limitRate(QStringLiteral("20mbit"));
    ShareProcess share(devices.a, QString::fromStdString(devices.folder.path()));
    const auto host = devices.hostOnB();
    host->start(share.url("clicks.wav"));
    for (int messages = 0; messages < 10; ++messages)
        static_cast<void>(host->next());
    share.signal(SIGTERM);
    EXPECT_EQ(share.waitForEnd(), 128 + SIGTERM);
    EXPECT_EQ(host->untilEnd().back().id, kError);
    expectQuits(*host);
}

}  // namespace
