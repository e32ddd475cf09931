// Who may say what: nobody speaks in the name of another device unless discovery hears it where it is.

#include "network/exchange/ExchangeTest.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace {

using exchangetest::ExchangeTest;
using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
using testing::Contains;
using testing::HasSubstr;
namespace wire = exchangetest::wire;

const QHostAddress kElsewhere(QStringLiteral("127.0.0.2"));

class Identity : public ExchangeTest {};

TEST_F(Identity, OfADeviceIsBelievedOnlyAtAnAddressWhereItIsHeard)
{
    const auto heard = announce(wire::kLower, 1);
    PumpedPeer liar = PumpedPeer::connectTo(directoryPort(), 2);
    liar.send(wire::whois(wire::kLower));
    EXPECT_TRUE(isAnswered(liar));
    EXPECT_FALSE(hosts_.at(0)->isConnected());
    PumpedPeer honest = identifiedPeer(1);
    EXPECT_TRUE(hosts_.at(0)->isConnected());
    EXPECT_EQ(hosts_.at(0)->directorySockets().size(), 1);
}

TEST_F(Identity, IsBelievedAsSoonAsItIsHeardThere)
{
    const auto heard = announce(wire::kLower, 1);
    PumpedPeer early = PumpedPeer::connectTo(directoryPort(), 2);
    early.send(wire::whois(wire::kLower));
    ASSERT_TRUE(isAnswered(early));
    EXPECT_FALSE(hosts_.at(0)->isConnected());
    heard->heardFrom(kElsewhere);
    EXPECT_TRUE(pumpUntil([this] { return hosts_.at(0)->isConnected(); }));
    const std::string info = wire::serviceInfo(wire::kOwn, "FileTransfer", servicePort());
    EXPECT_EQ(early.receive(info.size()), info);
}

TEST_F(Identity, IsTheLastOneThatWasClaimed)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    const wire::Uuid other = wire::kLowerToo;
    peer.send(wire::whois(other) + wire::whois(wire::kLower));
    ASSERT_TRUE(isAnswered(peer));
    announce(other, 1);
    EXPECT_FALSE(hosts_.at(0)->isConnected());
    announce(wire::kLower, 1);
    EXPECT_TRUE(hosts_.at(1)->isConnected());
}

TEST_F(Identity, OfAHigherDeviceIsNotBelievedOfOneThatConnectsToUs)
{
    announce(wire::kHigher, 0);
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.send(wire::whois(wire::kHigher));
    EXPECT_TRUE(isAnswered(peer));
    EXPECT_FALSE(hosts_.at(0)->isConnected());
}

TEST_F(Identity, OfALowerDeviceIsNotBelievedOfOneWeConnectTo)
{
    PumpedListener listener;
    announce(wire::kHigher, listener.port());
    announce(wire::kLower, 1);
    PumpedPeer peer = listener.accept();
    peer.send(wire::whois(wire::kLower));
    EXPECT_TRUE(isAnswered(peer));
    EXPECT_FALSE(hosts_.at(1)->isConnected());
}

TEST_F(Identity, ServiceIsAnnouncedByTheDeviceItselfOnly)
{
    PumpedListener directory;
    PumpedListener service;
    PumpedListener trap;
    announce(wire::kHigher, directory.port());
    PumpedPeer peer = directory.accept();
    PumpedPeer liar = PumpedPeer::connectTo(directoryPort());
    liar.send(wire::serviceInfo(wire::kHigher, "FileTransfer", trap.port()));
    ASSERT_TRUE(isAnswered(liar));
    peer.send(wire::serviceInfo(wire::kHigher, "FileTransfer", trap.port()));
    ASSERT_TRUE(isAnswered(peer)) << "it has not said who it is";
    peer.send(wire::whois(wire::kHigher) + wire::serviceInfo(wire::kHigher, "FileTransfer", service.port()));
    PumpedPeer stream = service.accept();
    EXPECT_FALSE(trap.hasPending());
    liar.send(wire::serviceInfo(wire::kHigher, "FileTransfer", trap.port()));
    ASSERT_TRUE(isAnswered(liar));
    EXPECT_EQ(hosts_.at(0)->service(serviceName())->port(), service.port());
}

TEST_F(Identity, ServiceConnectionInTheNameOfAnotherIsClosed)
{
    const testsupport::LogCapture log;
    announce(wire::kLower, 1);
    announce(wire::kHigher, 0);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer fromElsewhere = streamOfLower(2);
    EXPECT_TRUE(fromElsewhere.isClosed());
    PumpedPeer ofHigher = PumpedPeer::connectTo(servicePort());
    ofHigher.send(wire::serviceInfo(wire::kHigher, "FileTransfer", 1));
    EXPECT_TRUE(ofHigher.isClosed()) << "that one waits for us to connect";
    EXPECT_TRUE(hosts_.at(0)->services().isEmpty());
    EXPECT_THAT(log.texts(), Contains(HasSubstr("Service connection in the name of another:")));
}

}  // namespace
