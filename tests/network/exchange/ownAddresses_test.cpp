// What the loss of an own address does, and what the loss of the list of them does not.

#include "network/exchange/ExchangeTest.h"

namespace {

using exchangetest::ExchangeTest;
using exchangetest::pumpUntil;
using exchangetest::RawListener;
using exchangetest::RawPeer;
namespace wire = exchangetest::wire;
using Entries = QList<eboDiscoverer::LocalEntry>;

class OwnAddress : public ExchangeTest {};

TEST_F(OwnAddress, ThatHasGoneTakesItsConnections)
{
    const auto heard = announce(wire::kLower, 1);
    heard->heardFrom(QHostAddress(QStringLiteral("127.0.0.2")));
    RawPeer one = identifiedPeer(1);
    RawPeer two = identifiedPeer(2);
    ownAddresses_ = Entries{};
    hearBeacon(heard);
    EXPECT_TRUE(one.isClosed());
    EXPECT_TRUE(two.isClosed());
}

TEST_F(OwnAddress, ThatHasGoneLeavesTheLastConnection)
{
    const auto heard = announce(wire::kLower, 1);
    RawPeer only = identifiedPeer();
    ownAddresses_ = Entries{};
    hearBeacon(heard);
    EXPECT_TRUE(isAnswered(only));
}

TEST_F(OwnAddress, ThatHasGoneTakesItsStreams)
{
    RawListener directory;
    RawListener service;
    const auto heard = announce(wire::kHigher, directory.port());
    RawPeer peer = directory.accept();
    peer.send(wire::whois(wire::kHigher) + wire::serviceInfo(wire::kHigher, "FileTransfer", service.port()));
    RawPeer stream = service.accept();
    const ServiceRef ready = readyService(hosts_.at(0));
    ownAddresses_ = Entries{};
    hearBeacon(heard);
    EXPECT_TRUE(stream.isClosed());
    EXPECT_FALSE(ready->isReady());
    EXPECT_TRUE(isAnswered(peer)) << "the last directory connection is kept";
}

TEST_F(OwnAddress, ThatIsNotKnownTakesNothing)
{
    const auto heard = announce(wire::kLower, 1);
    heard->heardFrom(QHostAddress(QStringLiteral("127.0.0.2")));
    RawPeer one = identifiedPeer(1);
    RawPeer two = identifiedPeer(2);
    RawListener directory;
    RawListener service;
    const auto higher = announce(wire::kHigher, directory.port());
    RawPeer peer = directory.accept();
    peer.send(wire::whois(wire::kHigher) + wire::serviceInfo(wire::kHigher, "FileTransfer", service.port()));
    RawPeer stream = service.accept();
    const ServiceRef ready = readyService(hosts_.at(1));
    ownAddresses_ = std::nullopt;
    hearBeacon(heard);
    hearBeacon(higher);
    EXPECT_TRUE(isAnswered(one));
    EXPECT_TRUE(isAnswered(two));
    EXPECT_TRUE(isAnswered(peer));
    EXPECT_TRUE(ready->isReady());
}

}  // namespace
