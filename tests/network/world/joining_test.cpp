// Devices that find each other, join, and part.

#include "network/peer/BeaconSocket.h"
#include "network/world/WorldTest.h"
#include "support/repetitions.h"

#include <QUuid>

#include <csignal>
#include <memory>
#include <vector>

namespace {

using namespace world;
using testing::HasSubstr;
using testing::Not;

class Joining : public WorldTest {};

QUuid uuidOf(const DeviceProcess& device) { return QUuid(device.uuid()); }

TEST_F(Joining, TwoDevicesFindEachOtherAndTheLowerUuidMakesTheConnections)
{
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    DeviceProcess one(a);
    DeviceProcess two(b);
    ASSERT_TRUE(until([&] { return areJoined(one, two); })) << one.log().toStdString();
    ASSERT_TRUE(until([&] { return one.hasRoundTripTo(two.uuid()) && two.hasRoundTripTo(one.uuid()); }))
        << "a ping has come back";

    EXPECT_EQ(one.device(two.uuid()).value(QStringLiteral("addresses")).toVariant().toStringList(),
              QStringList{QStringLiteral("10.0.0.2")});
    EXPECT_EQ(one.device(two.uuid()).value(QStringLiteral("application")).toString(),
              QStringLiteral("Tunesift"));
    EXPECT_EQ(one.device(two.uuid()).value(QStringLiteral("version")).toString(), QStringLiteral("1.0.0"));
    EXPECT_EQ(one.device(two.uuid()).value(QStringLiteral("port")).toInt(), two.directoryPort());
    EXPECT_GT(one.roundTripNs(two.uuid()), 0);
    EXPECT_EQ(one.connectionsTo(two.uuid()), 1);
    EXPECT_EQ(two.connectionsTo(one.uuid()), 1);

    const bool oneConnects = uuidOf(one) < uuidOf(two);
    const QList<TcpConnection> fromOne = tcpConnections(a);
    EXPECT_EQ(fromOne.size(), 2) << "a directory connection and the service's";
    const int accepting = (oneConnects ? two : one).directoryPort();
    const int connecting = (oneConnects ? one : two).directoryPort();
    EXPECT_EQ(waysOf(fromOne, accepting).size(), 1);
    EXPECT_EQ(waysOf(fromOne, connecting).size(), 0);
}

TEST_F(Joining, ThreeDevicesJoinPairwise)
{
    NetworkSwitch wire;
    NetworkNamespace places[3];
    std::vector<std::unique_ptr<DeviceProcess>> devices;
    for (int i = 0; i < 3; ++i) {
        wire.plug(places[i], QStringLiteral("eth0"), {QStringLiteral("10.0.0.%1/24").arg(i + 1)});
        devices.push_back(std::make_unique<DeviceProcess>(places[i]));
    }
    ASSERT_TRUE(until([&] {
        return areJoined(*devices[0], *devices[1]) && areJoined(*devices[1], *devices[2]) &&
               areJoined(*devices[2], *devices[0]);
    }));
    for (const NetworkNamespace& place : places)
        EXPECT_EQ(tcpConnections(place).size(), 4) << "two to each of the other devices";
}

TEST_F(Joining, DeviceThatIsKilledIsGoneFiveSecondsAfterItsLastBeacon)
{
    NetworkSwitch wire;
    NetworkNamespace places[3];
    for (int i = 0; i < 3; ++i)
        wire.plug(places[i], QStringLiteral("eth0"), {QStringLiteral("10.0.0.%1/24").arg(i + 1)});
    const peer::BeaconSocket ear(places[2], "0.0.0.0", peer::kBeaconPort);
    DeviceProcess survivor(places[0]);
    DeviceProcess victim(places[1]);
    ASSERT_TRUE(until([&] { return areJoined(survivor, victim); }));

    victim.signal(SIGKILL);
    ASSERT_EQ(victim.waitForEnd(), -1);
    std::chrono::system_clock::time_point lastBeacon;
    while (const auto heard = ear.nextWaiting()) {
        if (heard->from == "10.0.0.2")
            lastBeacon = heard->when;
    }
    ASSERT_TRUE(survivor.sees(victim.uuid())) << "losing the connections is not losing the device";
    ASSERT_TRUE(until([&] { return !survivor.sees(victim.uuid()); }));
    EXPECT_EQ(survivor.timesGone(victim.uuid()), 1);
    const auto silence = survivor.lastGone() - lastBeacon;
    EXPECT_GE(silence, std::chrono::milliseconds(4990));
    EXPECT_LE(silence, std::chrono::milliseconds(6500));
    EXPECT_EQ(tcpConnections(places[0]).size(), 0);
}

TEST_F(Joining, DeviceThatIsStartedAnewIsAnotherDevice)
{
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    DeviceProcess constant(a);
    QString firstUuid;
    {
        DeviceProcess first(b);
        firstUuid = first.uuid();
        ASSERT_TRUE(until([&] { return areJoined(constant, first); }));
        first.signal(SIGTERM);
        EXPECT_EQ(first.waitForEnd(), 128 + SIGTERM);
    }
    DeviceProcess second(b);
    EXPECT_NE(second.uuid(), firstUuid);
    ASSERT_TRUE(until([&] { return areJoined(constant, second) && !constant.sees(firstUuid); }));
}

TEST_F(Joining, ProxyOfTheWebIsNotForDevices)
{
    const char* const names[] = {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY"};
    for (const char* const name : names)
        qputenv(name, "http://10.9.9.9:3128");
    {
        const TwoPlaces places;
        DeviceProcess one(places.a);
        DeviceProcess two(places.b);
        EXPECT_TRUE(until([&] { return areJoined(one, two); })) << one.log().toStdString();
    }
    for (const char* const name : names)
        qunsetenv(name);
}

TEST_F(Joining, EndsByItselfAfterItsTime)
{
    NetworkNamespace alone;
    DeviceProcess device(alone, {QStringLiteral("--for"), QStringLiteral("1")});
    EXPECT_EQ(device.waitForEnd(), 0);
    EXPECT_EQ(device.numberOfDevices(), 0);
}

TEST_F(Joining, DevicesOnDifferentPortsDoNotMeet)
{
    NetworkSwitch wire;
    NetworkNamespace places[3];
    for (int i = 0; i < 3; ++i)
        wire.plug(places[i], QStringLiteral("eth0"), {QStringLiteral("10.0.0.%1/24").arg(i + 1)});
    const QStringList otherPort{QStringLiteral("-discoPort"), QStringLiteral("40404")};
    DeviceProcess one(places[0], otherPort);
    DeviceProcess two(places[1], otherPort);
    DeviceProcess stranger(places[2]);
    ASSERT_TRUE(until([&] { return areJoined(one, two); }));
    EXPECT_EQ(one.numberOfDevices(), 1);
    EXPECT_EQ(stranger.numberOfDevices(), 0);
    EXPECT_THAT(one.log().toStdString(), HasSubstr("Discoverer Port override requested, set to: 40404"));
}

TEST_F(Joining, DevicesOfOneMachineDoNotMeetByLoopback)
{
    NetworkNamespace machine;
    DeviceProcess one(machine, {QStringLiteral("--for"), QStringLiteral("3")});
    DeviceProcess two(machine, {QStringLiteral("--for"), QStringLiteral("3")});
    EXPECT_EQ(one.waitForEnd(), 0);
    EXPECT_EQ(two.waitForEnd(), 0);
    EXPECT_EQ(one.numberOfDevices(), 0);
    EXPECT_EQ(two.numberOfDevices(), 0);
    EXPECT_THAT(two.log().toStdString(), Not(HasSubstr("failed to bind"))) << "the port can be shared";
}

}  // namespace
