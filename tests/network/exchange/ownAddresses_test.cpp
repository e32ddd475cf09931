// What the loss of an own address does, and what the loss of the list of them does not.

#include "network/exchange/ExchangeTest.h"

namespace {

using exchangetest::ExchangeTest;
using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
namespace wire = exchangetest::wire;
using Entries = QList<eboDiscoverer::LocalEntry>;

class OwnAddress : public ExchangeTest {};

TEST_F(OwnAddress, ThatHasGoneTakesItsConnections)
{
    const auto heard = announce(wire::kLower, 1);
    heard->heardFrom(QHostAddress(QStringLiteral("127.0.0.2")));
    PumpedPeer one = identifiedPeer(1);
    PumpedPeer two = identifiedPeer(2);
    ownAddresses_ = Entries{};
    hearBeacon(heard);
    EXPECT_TRUE(one.isClosed());
    EXPECT_TRUE(two.isClosed());
}

TEST_F(OwnAddress, ThatHasGoneLeavesTheLastConnection)
{
    const auto heard = announce(wire::kLower, 1);
    PumpedPeer only = identifiedPeer();
    ownAddresses_ = Entries{};
    hearBeacon(heard);
    EXPECT_TRUE(isAnswered(only));
}

TEST_F(OwnAddress, ThatHasGoneTakesItsStreams)
{
    PumpedListener directory;
    PumpedListener service;
    const auto heard = announce(wire::kHigher, directory.port());
    PumpedPeer peer = directory.accept();
    peer.send(wire::whois(wire::kHigher) + wire::serviceInfo(wire::kHigher, "FileTransfer", service.port()));
    PumpedPeer stream = service.accept();
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
    PumpedPeer one = identifiedPeer(1);
    PumpedPeer two = identifiedPeer(2);
    PumpedListener directory;
    PumpedListener service;
    const auto higher = announce(wire::kHigher, directory.port());
    PumpedPeer peer = directory.accept();
    peer.send(wire::whois(wire::kHigher) + wire::serviceInfo(wire::kHigher, "FileTransfer", service.port()));
    PumpedPeer stream = service.accept();
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
