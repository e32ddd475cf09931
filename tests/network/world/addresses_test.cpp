// Devices with several addresses, and addresses that come and go.

#include "network/world/WorldTest.h"

namespace {

using namespace world;

class Addresses : public WorldTest {
protected:
    NetworkSwitch wire_;
};

TEST_F(Addresses, OneConnectionForEachPairOfAddressesInASubnet)
{
    NetworkNamespace a;
    NetworkNamespace b;
    wire_.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24"), QStringLiteral("10.0.0.2/24")});
    wire_.plug(
        b, QStringLiteral("eth0"),
        {QStringLiteral("10.0.0.11/24"), QStringLiteral("10.0.0.12/24"), QStringLiteral("10.0.0.13/24")});
    DeviceProcess one(a);
    DeviceProcess two(b);
    constexpr int kPairs = 6;
    ASSERT_TRUE(until([&] {
        return one.connectionsTo(two.uuid()) == kPairs && two.connectionsTo(one.uuid()) == kPairs &&
               areJoined(one, two);
    }));
    // Those of the service follow; the last of them may still be under way.
    ASSERT_TRUE(until([&] { return tcpConnections(a).size() >= 2 * kPairs; }));
    ASSERT_TRUE(until([&] { return one.hasRoundTripTo(two.uuid()); })) << "beacons and pings have gone by";
    const QList<TcpConnection> all = tcpConnections(a);
    EXPECT_EQ(all.size(), 2 * kPairs) << "later beacons make no more of them";
    QStringList ways = waysOf(all, one.directoryPort()) + waysOf(all, two.directoryPort());
    EXPECT_EQ(ways.size(), kPairs);
    EXPECT_EQ(ways.removeDuplicates(), 0);
}

TEST_F(Addresses, SubnetsAreNotCrossedEvenWhereThereIsARoute)
{
    NetworkNamespace a;
    NetworkNamespace b;
    wire_.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24"), QStringLiteral("10.0.1.1/24")});
    wire_.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.2/24"), QStringLiteral("10.0.1.2/24")});
    DeviceProcess one(a);
    DeviceProcess two(b);
    ASSERT_TRUE(until([&] {
        return one.connectionsTo(two.uuid()) == 2 && areJoined(one, two) && one.hasRoundTripTo(two.uuid());
    }));
    const QList<TcpConnection> all = tcpConnections(a);
    const QStringList ways = waysOf(all, one.directoryPort()) + waysOf(all, two.directoryPort());
    EXPECT_EQ(ways, (QStringList{QStringLiteral("10.0.0.1-10.0.0.2"), QStringLiteral("10.0.1.1-10.0.1.2")}));
}

TEST_F(Addresses, DevicesOfDifferentSubnetsSeeEachOtherAndStayApart)
{
    NetworkNamespace a;
    NetworkNamespace b;
    wire_.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
    wire_.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.1.1/24")});
    a.run(QStringLiteral("ip route add 10.0.1.0/24 dev eth0"));
    b.run(QStringLiteral("ip route add 10.0.0.0/24 dev eth0"));
    DeviceProcess one(a, {QStringLiteral("--for"), QStringLiteral("3")});
    DeviceProcess two(b, {QStringLiteral("--for"), QStringLiteral("3")});
    ASSERT_TRUE(until([&] { return one.sees(two.uuid()) && two.sees(one.uuid()); }))
        << "broadcasts reach every host of the wire";
    EXPECT_EQ(one.waitForEnd(), 0);
    EXPECT_EQ(two.waitForEnd(), 0);
    EXPECT_FALSE(one.device(two.uuid()).value(QStringLiteral("connected")).toBool());
    EXPECT_FALSE(two.device(one.uuid()).value(QStringLiteral("connected")).toBool());
}

TEST_F(Addresses, AddressThatGoesTakesItsConnectionsAndBringsThemBack)
{
    NetworkNamespace a;
    NetworkNamespace b;
    wire_.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
    wire_.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24"), QStringLiteral("10.0.0.2/24")});
    DeviceProcess one(a);
    DeviceProcess two(b);
    const auto connections = [&](int expected) {
        return until([&] {
            return one.connectionsTo(two.uuid()) == expected && two.connectionsTo(one.uuid()) == expected &&
                   areJoined(one, two);
        });
    };
    ASSERT_TRUE(connections(2));
    b.run(QStringLiteral("ip addr del 10.0.0.2/24 dev eth0"));
    ASSERT_TRUE(connections(1)) << one.log().toStdString() << two.log().toStdString();
    EXPECT_EQ(one.device(two.uuid()).value(QStringLiteral("addresses")).toVariant().toStringList(),
              QStringList{QStringLiteral("10.0.0.3")});
    b.run(QStringLiteral("ip addr add 10.0.0.2/24 dev eth0"));
    ASSERT_TRUE(connections(2)) << one.log().toStdString() << two.log().toStdString();
    EXPECT_EQ(one.timesGone(two.uuid()), 0) << "the other address kept the device alive";
    EXPECT_EQ(two.timesGone(one.uuid()), 0);
}

}  // namespace
