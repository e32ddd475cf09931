// Links that fail, lose and delay.

#include "network/peer/BeaconSocket.h"
#include "network/peer/FrameRelay.h"
#include "network/world/WorldTest.h"
#include "support/repetitions.h"

#include <optional>
#include <unistd.h>

namespace {

using namespace world;

class Weather : public WorldTest {};

TEST_F(Weather, FlappingLinkLeavesTheDevicesJoined)
{
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    DeviceProcess constant(a);
    DeviceProcess first(b);
    ASSERT_TRUE(until([&] { return areJoined(constant, first); }));
    for (int i = 0; i < 20; ++i) {
        a.run(QStringLiteral("ip link set eth0 down"));
        a.run(QStringLiteral("ip link set eth0 up"));
    }
    // A newcomer proves that the device still tells, hears, accepts and connects.
    DeviceProcess second(b);
    ASSERT_TRUE(until([&] { return areJoined(constant, second) && areJoined(constant, first); }));
}

TEST_F(Weather, LinkThatStaysDownLosesTheDeviceAndLinkThatComesUpBringsItBack)
{
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    DeviceProcess one(a);
    DeviceProcess two(b);
    ASSERT_TRUE(until([&] { return areJoined(one, two); }));
    a.run(QStringLiteral("ip link set eth0 down"));
    ASSERT_TRUE(until([&] { return !one.sees(two.uuid()) && !two.sees(one.uuid()); }));
    a.run(QStringLiteral("ip link set eth0 up"));
    ASSERT_TRUE(until([&] { return areJoined(one, two); }))
        << one.log().toStdString() << two.log().toStdString();
    EXPECT_EQ(one.timesGone(two.uuid()), 1);
    EXPECT_EQ(two.timesGone(one.uuid()), 1);
    EXPECT_EQ(one.connectionsTo(two.uuid()), 1);
}

TEST_F(Weather, AfterEachOutageTheDevicesAreJoinedTwoSecondsAfterTheyHearEachOther)
{
    TwoPlaces places;
    NetworkNamespace third;
    places.wire.plug(third, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24")});
    const peer::BeaconSocket ear(third, "0.0.0.0", peer::kBeaconPort);
    DeviceProcess one(places.a);
    DeviceProcess two(places.b);
    ASSERT_TRUE(until([&] { return areJoined(one, two); }));
    for (int outage = 0; outage < testsupport::repetitions(20); ++outage) {
        places.a.run(QStringLiteral("ip link set eth0 down"));
        ASSERT_TRUE(until([&] { return !one.sees(two.uuid()) && !two.sees(one.uuid()); }));
        while (ear.nextWaiting()) {
        }
        places.a.run(QStringLiteral("ip link set eth0 up"));
        std::optional<std::chrono::system_clock::time_point> heard;
        ASSERT_TRUE(until([&] {
            while (const auto beacon = ear.nextWaiting()) {
                if (beacon->from == "10.0.0.1" && !heard)
                    heard = beacon->when;
            }
            return heard && areJoined(one, two);
        }));
        EXPECT_LE(std::chrono::system_clock::now() - *heard, std::chrono::seconds(2)) << outage;
    }
}

TEST_F(Weather, OnePacketInTwentyMayBeLost)
{
    skipIf(NetworkNamespace::whyFails({QStringLiteral("nft add table inet weather")}));
    if (IsSkipped())
        return;
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    for (const NetworkNamespace* place : {&a, &b}) {
        place->run(QStringLiteral("nft add table inet weather"));
        place->run(QStringLiteral("nft add chain inet weather in { type filter hook input priority 0; }"));
        place->run(QStringLiteral("nft add rule inet weather in numgen random mod 100 < 5 drop"));
    }
    DeviceProcess one(a);
    DeviceProcess two(b);
    ASSERT_TRUE(until([&] {
        return areJoined(one, two) && one.hasRoundTripTo(two.uuid()) && two.hasRoundTripTo(one.uuid());
    }));
    EXPECT_EQ(one.timesGone(two.uuid()), 0);
    EXPECT_EQ(two.timesGone(one.uuid()), 0);
}

TEST_F(Weather, LongWayIsMeasuredAsSuch)
{
    skipIf(access("/dev/net/tun", R_OK | W_OK) == 0 ? "" : "the relay needs /dev/net/tun");
    if (IsSkipped())
        return;
    NetworkNamespace a;
    NetworkNamespace b;
    constexpr std::chrono::milliseconds kDelay{50};
    const peer::FrameRelay relay({a, "10.0.0.1/24"}, {b, "10.0.0.2/24"},
                                 {kDelay, std::chrono::milliseconds(5), 7});
    DeviceProcess one(a);
    DeviceProcess two(b);
    ASSERT_TRUE(until([&] {
        return areJoined(one, two) && one.hasRoundTripTo(two.uuid()) && two.hasRoundTripTo(one.uuid());
    })) << one.log().toStdString();
    const qint64 shortest = std::chrono::nanoseconds(2 * kDelay).count();
    EXPECT_GE(one.roundTripNs(two.uuid()), shortest);
    EXPECT_GE(two.roundTripNs(one.uuid()), shortest);
}

}  // namespace
