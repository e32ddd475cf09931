#include "network/exchange/addressPairs.h"

#include <gtest/gtest.h>

namespace {

using eboNetworkExchange::AddressPair;
using eboNetworkExchange::addressPairs;
using eboNetworkExchange::ExistingConnection;
using eboNetworkExchange::isLocal;
using eboNetworkExchange::LocalEntry;

constexpr quint16 kPort = 4711;

QHostAddress address(const char* text) { return QHostAddress(QString::fromLatin1(text)); }

LocalEntry entry(const char* ip, const char* netmask) { return {address(ip), address(netmask)}; }

/// "local>remote" for each pair, with a blank between.
std::string pairs(const QList<QHostAddress>& remotes, const QList<ExistingConnection>& existing,
                  const QList<LocalEntry>& entries)
{
    QStringList result;
    for (const AddressPair& pair : addressPairs(remotes, kPort, existing, entries))
        result.append(pair.local.toString() + QLatin1Char('>') + pair.remote.toString());
    return result.join(QLatin1Char(' ')).toStdString();
}

const LocalEntry kHome = entry("192.168.1.2", "255.255.255.0");
const LocalEntry kOffice = entry("10.1.2.3", "255.255.0.0");

TEST(AddressPairs, JoinAddressesOfTheSameSubnetOnly)
{
    EXPECT_EQ(pairs({address("192.168.1.9"), address("10.1.77.1")}, {}, {kHome, kOffice}),
              "192.168.1.2>192.168.1.9 10.1.2.3>10.1.77.1");
    EXPECT_EQ(pairs({address("192.168.2.9"), address("10.2.0.1")}, {}, {kHome, kOffice}), "");
}

TEST(AddressPairs, EveryLocalAddressOfTheSubnetGetsItsOwn)
{
    const LocalEntry wireless = entry("192.168.1.3", "255.255.255.0");
    EXPECT_EQ(pairs({address("192.168.1.9"), address("192.168.1.8")}, {}, {kHome, wireless}),
              "192.168.1.2>192.168.1.9 192.168.1.3>192.168.1.9 "
              "192.168.1.2>192.168.1.8 192.168.1.3>192.168.1.8");
}

TEST(AddressPairs, WhatIsJoinedAlreadyIsLeftOut)
{
    const QList<QHostAddress> remotes{address("192.168.1.9")};
    const ExistingConnection same{address("192.168.1.2"), address("192.168.1.9"), kPort};
    ExistingConnection otherPort = same;
    otherPort.peerPort = kPort + 1;
    ExistingConnection otherLocal = same;
    otherLocal.local = address("192.168.1.3");
    ExistingConnection otherPeer = same;
    otherPeer.peer = address("192.168.1.8");
    EXPECT_EQ(pairs(remotes, {same}, {kHome}), "");
    EXPECT_EQ(pairs(remotes, {otherPort, otherLocal, otherPeer}, {kHome}), "192.168.1.2>192.168.1.9");
}

TEST(AddressPairs, MappedAndPlainFormsAreOneAddress)
{
    const ExistingConnection accepted{address("::ffff:192.168.1.2"), address("::ffff:192.168.1.9"), kPort};
    EXPECT_EQ(pairs({address("192.168.1.9")}, {accepted}, {kHome}), "");
    EXPECT_EQ(pairs({address("::ffff:192.168.1.9")}, {}, {kHome}), "192.168.1.2>192.168.1.9");
}

TEST(AddressPairs, NetmasksNeedNotEndAtAByte)
{
    const LocalEntry narrow = entry("172.16.5.20", "255.255.255.240");
    EXPECT_EQ(pairs({address("172.16.5.31")}, {}, {narrow}), "172.16.5.20>172.16.5.31");
    EXPECT_EQ(pairs({address("172.16.5.32"), address("172.16.5.15")}, {}, {narrow}), "");
}

TEST(AddressPairs, Ipv6SubnetsCountLikewise)
{
    const LocalEntry v6 = entry("fd00::2", "ffff:ffff:ffff:ffff::");
    EXPECT_EQ(pairs({address("fd00::9"), address("fd00:0:0:1::9"), address("192.168.1.9")}, {}, {v6}),
              "fd00::2>fd00::9");
}

TEST(AddressPairs, NullAddressesHaveNone)
{
    EXPECT_EQ(pairs({QHostAddress()}, {}, {kHome}), "");
    EXPECT_EQ(pairs({address("192.168.1.9")}, {}, {{QHostAddress(), address("255.255.255.0")}}), "");
    EXPECT_EQ(pairs({address("192.168.1.9")}, {}, {{address("192.168.1.2"), QHostAddress()}}), "");
}

TEST(IsLocal, KnowsBothFormsOfAnAddress)
{
    const QList<LocalEntry> entries{{address("127.0.0.1"), address("255.0.0.0")}};
    EXPECT_TRUE(isLocal(address("127.0.0.1"), entries));
    EXPECT_TRUE(isLocal(address("::ffff:127.0.0.1"), entries));
    EXPECT_FALSE(isLocal(address("203.0.113.77"), entries));
}

}  // namespace
