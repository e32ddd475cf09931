// Our directory against devices played by bare sockets.

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
using testsupport::LogCapture;
namespace wire = exchangetest::wire;

class DirectoryServer : public ExchangeTest {};

// Of the device with the lower uuid: it connects to us, and we announce our services.

TEST_F(DirectoryServer, SaysWhoItIsToWhoeverConnects)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    EXPECT_EQ(peer.receive(20), wire::whois(wire::kOwn));
    EXPECT_EQ(directorySockets_, 1);
}

TEST_F(DirectoryServer, AnnouncesItsServicesToALowerDeviceThatSaysWhoItIs)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    EXPECT_TRUE(hosts_.at(0)->isConnected());
}

TEST_F(DirectoryServer, NeverConnectsToALowerDevice)
{
    PumpedListener listener;
    announce(wire::kLower, listener.port());
    PumpedPeer peer = identifiedPeer();
    discoverer_->hosts().at(0)->heardFrom(localhost());
    EXPECT_FALSE(listener.hasPending());
}

TEST_F(DirectoryServer, AnnouncesNothingToAHigherDevice)
{
    announce(wire::kHigher, 0);
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.send(wire::whois(wire::kHigher) + wire::ping(wire::kHigher, wire::kNobody, 1));
    EXPECT_EQ(peer.receive(20 + 44), wire::whois(wire::kOwn) + wire::ping(wire::kHigher, wire::kOwn, 1));
}

TEST_F(DirectoryServer, KeepsTheNameOfADeviceThatIsNotHeardYet)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.send(wire::whois(wire::kLower) + wire::ping(wire::kLower, wire::kNobody, 1));
    EXPECT_EQ(peer.receive(20 + 44).size(), 64U);
    EXPECT_EQ(peer.received(), "");
    announce(wire::kLower, 1);
    const std::string info = wire::serviceInfo(wire::kOwn, "FileTransfer", servicePort());
    EXPECT_EQ(peer.receive(info.size()), info);
    EXPECT_TRUE(hosts_.at(0)->isConnected());
}

TEST_F(DirectoryServer, ForgetsTheNameOfAConnectionThatHasClosed)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.send(wire::whois(wire::kLower));
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 1; }));
    peer.close();
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    announce(wire::kLower, 1);
    EXPECT_FALSE(hosts_.at(0)->isConnected());
    EXPECT_TRUE(hosts_.at(0)->directorySockets().isEmpty());
}

TEST_F(DirectoryServer, AnswersAPingWithItsUuidAndTheTimeStampUntouched)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.receive(20);
    peer.send(wire::ping(wire::kLower, wire::kNobody, 0xfedcba9876543210));
    EXPECT_EQ(peer.receive(44), wire::ping(wire::kLower, wire::kOwn, 0xfedcba9876543210));
}

TEST_F(DirectoryServer, AsksEveryConnectionForItsWay)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.receive(20);
    const std::string ping = peer.receive(44);
    EXPECT_EQ(ping.substr(0, 36),
              wire::number32(1) + wire::uuidBytes(wire::kOwn) + wire::uuidBytes(wire::kNobody));
    peer.send(wire::ping(wire::kLower, wire::kNobody, 1));
    EXPECT_EQ(peer.receive(44).size(), 44U) << "one who does not answer is not dropped";
}

TEST_F(DirectoryServer, TakesTheEchoOfItsPingAsTheWayThere)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    const auto helper = discoverer_->hosts().at(0)->addresses().at(0);
    EXPECT_EQ(helper->ping(), -1);
    peer.send(wire::ping(wire::kOwn, wire::kLower, 0));
    ASSERT_TRUE(pumpUntil([&] { return helper->ping() > 0; }));
    // An echo that was never asked for, with stamps that overflow a signed difference.
    for (const std::uint64_t stamp : {0x8000000000000000U, 0x7fffffffffffffffU, 0xffffffffffffffffU}) {
        const qint64 before = helper->ping();
        peer.send(wire::ping(wire::kOwn, wire::kLower, stamp));
        EXPECT_TRUE(pumpUntil([&] { return helper->ping() != before; })) << stamp;
    }
}

TEST_F(DirectoryServer, AnEchoOfAnUnknownResponderHasNoEffect)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    peer.send(wire::ping(wire::kOwn, wire::kHigher, 0) + wire::ping(wire::kLower, wire::kNobody, 7));
    EXPECT_EQ(peer.receive(44).size(), 44U);
    EXPECT_EQ(discoverer_->hosts().at(0)->addresses().at(0)->ping(), -1);
}

TEST_F(DirectoryServer, IgnoresAServiceOfALowerDevice)
{
    PumpedListener service;
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    peer.send(wire::serviceInfo(wire::kLower, "FileTransfer", service.port()) +
              wire::ping(wire::kLower, wire::kNobody, 1));
    EXPECT_EQ(peer.receive(44).size(), 44U);
    EXPECT_FALSE(hosts_.at(0)->service(serviceName()));
    EXPECT_FALSE(service.hasPending());
}

TEST_F(DirectoryServer, AServiceConnectionBecomesAStreamOfItsHost)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    EXPECT_EQ(service->port(), 0);
    stream.send(wire::packet("hello"));
    ASSERT_TRUE(pumpUntil([&] { return service->packetsAvailable(); }));
    EXPECT_EQ(service->readPacket(), QByteArray("hello"));
    EXPECT_TRUE(service->writePacket("answer"));
    EXPECT_EQ(stream.receive(10), wire::packet("answer"));
}

TEST_F(DirectoryServer, PacketsRightBehindTheOpeningAreNotLost)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = PumpedPeer::connectTo(servicePort());
    stream.send(wire::serviceInfo(wire::kLower, "FileTransfer", 1) + wire::packet("one") +
                wire::packet("two"));
    const ServiceRef service = readyService(hosts_.at(0));
    ASSERT_TRUE(pumpUntil([&] { return service->packetsAvailable(); }));
    EXPECT_EQ(service->readPacket(), QByteArray("one"));
    EXPECT_EQ(service->readPacket(), QByteArray("two"));
}

TEST_F(DirectoryServer, TheOpeningOfAServiceConnectionMayComeByteByByte)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = PumpedPeer::connectTo(servicePort());
    stream.sendSlowly(wire::serviceInfo(wire::kLower, "FileTransfer", 1) + wire::packet("slow"));
    const ServiceRef service = readyService(hosts_.at(0));
    ASSERT_TRUE(pumpUntil([&] { return service->packetsAvailable(); }));
    EXPECT_EQ(service->readPacket(), QByteArray("slow"));
}

TEST_F(DirectoryServer, OtherMessagesBeforeTheOpeningChangeNothing)
{
    announce(wire::kLower, 1);
    PumpedPeer stream = PumpedPeer::connectTo(servicePort());
    stream.send(wire::whois(wire::kLower) + wire::ping(wire::kLower, wire::kNobody, 1) +
                wire::serviceInfo(wire::kLower, "FileTransfer", 1));
    EXPECT_TRUE(readyService(hosts_.at(0)));
}

TEST_F(DirectoryServer, AnUnknownDevicesServiceConnectionIsClosed)
{
    const LogCapture log;
    PumpedPeer stream = streamOfLower();
    EXPECT_TRUE(stream.isClosed());
    EXPECT_THAT(log.texts(), Contains(HasSubstr("Couldn't find host:")));
}

TEST_F(DirectoryServer, AServiceThatIsNotOfferedIsRefused)
{
    announce(wire::kLower, 1);
    PumpedPeer stream = PumpedPeer::connectTo(servicePort());
    stream.send(wire::serviceInfo(wire::kLower, "Telnet", 1));
    EXPECT_TRUE(stream.isClosed());
    EXPECT_TRUE(hosts_.at(0)->services().isEmpty());
}

TEST_F(DirectoryServer, AsksForAStreamAgainWhenTheLastOneIsLost)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(hosts_.at(0));
    stream.close();
    const std::string info = wire::serviceInfo(wire::kOwn, "FileTransfer", servicePort());
    EXPECT_EQ(peer.receive(info.size()), info);
}

TEST_F(DirectoryServer, ClosesEverythingOfADeviceThatHasGone)
{
    const auto heard = announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    discoverer_->lose(heard);
    EXPECT_TRUE(hosts_.isEmpty());
    EXPECT_TRUE(peer.isClosed());
    EXPECT_TRUE(stream.isClosed());
    EXPECT_FALSE(service->isReady());
    EXPECT_EQ(directorySockets_, 0);
    EXPECT_FALSE(service->writePacket("too late"));
}

TEST_F(DirectoryServer, ADeviceIsNotConnectedOnceItsLastConnectionIsLost)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    peer.close();
    ASSERT_TRUE(pumpUntil([this] { return !hosts_.at(0)->isConnected(); }));
    EXPECT_TRUE(hosts_.at(0)->services().isEmpty()) << "services go with the connection";
    EXPECT_TRUE(stream.isClosed());
}

TEST_F(DirectoryServer, ASecondConnectionBetweenTheSameAddressesReplacesTheFirst)
{
    announce(wire::kLower, 1);
    PumpedPeer first = identifiedPeer();
    PumpedPeer second = identifiedPeer();
    EXPECT_TRUE(first.isClosed());
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 1; }));
    EXPECT_EQ(hosts_.at(0)->directorySockets().size(), 1);
    EXPECT_TRUE(hosts_.at(0)->isConnected());
}

TEST_F(DirectoryServer, AConnectionUnderTwoNamesLeavesBothDevices)
{
    const wire::Uuid other = wire::kLowerToo;
    announce(wire::kLower, 1);
    announce(other, 1);
    PumpedPeer peer = identifiedPeer();
    peer.send(wire::whois(other));
    ASSERT_TRUE(pumpUntil([this] { return hosts_.at(1)->isConnected(); }));
    peer.close();
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    EXPECT_TRUE(hosts_.at(0)->directorySockets().isEmpty());
    EXPECT_TRUE(hosts_.at(1)->directorySockets().isEmpty());
}

TEST_F(DirectoryServer, AMessageInTwoPartsIsReadFromWhatIsThere)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.receive(20);
    const std::string whois = wire::whois(wire::kLower);
    peer.send(whois.substr(0, 10));
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
    peer.send(whois.substr(10));  // 10 bytes, taken for the start of a message of a wild type
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
    EXPECT_FALSE(hosts_.at(0)->isConnected());
    peer.send(whois);
    EXPECT_TRUE(pumpUntil([this] { return hosts_.at(0)->isConnected(); })) << "whole ones count again";
}

TEST_F(DirectoryServer, AnUnknownMessageIsIgnored)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.receive(20);
    peer.send(wire::number32(77) + wire::uuidBytes(wire::kLower) +
              wire::ping(wire::kLower, wire::kNobody, 3));
    EXPECT_EQ(peer.receive(44), wire::ping(wire::kLower, wire::kOwn, 3));
}

// Of the device with the higher uuid: we connect to it, to its directory and then to its services.

TEST_F(DirectoryServer, ConnectsToAHigherDeviceAndSaysWhoItIs)
{
    PumpedListener listener;
    announce(wire::kHigher, listener.port());
    PumpedPeer peer = listener.accept();
    EXPECT_EQ(peer.receive(20), wire::whois(wire::kOwn));
    peer.send(wire::whois(wire::kHigher));
    EXPECT_TRUE(pumpUntil([this] { return hosts_.at(0)->isConnected(); }));
    EXPECT_EQ(peer.received(), "") << "the lower device announces no services";
}

TEST_F(DirectoryServer, ASecondBeaconMakesNoSecondConnection)
{
    PumpedListener listener;
    const auto heard = announce(wire::kHigher, listener.port());
    heard->heardFrom(localhost());  // while the first attempt runs
    PumpedPeer peer = listener.accept();
    peer.receive(20);
    heard->heardFrom(localhost());  // once it is there
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
    EXPECT_FALSE(listener.hasPending());
    EXPECT_EQ(directorySockets_, 1);
}

TEST_F(DirectoryServer, ConnectsAgainWithTheNextBeaconOnly)
{
    PumpedListener listener;
    const auto heard = announce(wire::kHigher, listener.port());
    PumpedPeer peer = listener.accept();
    peer.receive(20);
    peer.close();
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    EXPECT_FALSE(listener.hasPending());
    heard->heardFrom(localhost());
    EXPECT_EQ(listener.accept().receive(20), wire::whois(wire::kOwn));
}

TEST_F(DirectoryServer, ADeviceWithoutADirectoryIsLeftAlone)
{
    announce(wire::kHigher, 0)->heardFrom(localhost());
    EXPECT_EQ(directorySockets_, 0);
    EXPECT_EQ(hosts_.size(), 1);
}

TEST_F(DirectoryServer, ARefusedConnectionIsTriedAgain)
{
    const LogCapture log;
    quint16 port = 0;
    {
        const PumpedListener gone;
        port = gone.port();
    }
    const auto heard = announce(wire::kHigher, port);
    ASSERT_TRUE(pumpUntil([&] { return !log.texts().empty(); }));
    EXPECT_THAT(log.texts(), Contains(HasSubstr("Socket error:")));
    PumpedListener listener;
    heard->update(QStringLiteral("device"), listener.port());
    heard->heardFrom(localhost());
    EXPECT_EQ(listener.accept().receive(20), wire::whois(wire::kOwn));
}

TEST_F(DirectoryServer, NeverConnectsToAnotherSubnet)
{
    const LogCapture log;
    discoverer_->announce(wire::uuid(wire::kHigher), 9, {QHostAddress(QStringLiteral("203.0.113.9"))});
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
    EXPECT_EQ(directorySockets_, 0);
    EXPECT_TRUE(log.texts().empty());
}

class ServiceOfHigher : public ExchangeTest {
protected:
    ServiceOfHigher()
    {
        heard_ = announce(wire::kHigher, directory_.port());
        peer_.emplace(directory_.accept());
        peer_->receive(20);
        peer_->send(wire::whois(wire::kHigher));
    }

    void offer() { peer_->send(wire::serviceInfo(wire::kHigher, "FileTransfer", service_.port())); }

    /// Until what was sent before has been heard.
    void settle()
    {
        peer_->send(wire::ping(wire::kHigher, wire::kNobody, 0));
        EXPECT_EQ(peer_->receive(44).size(), 44U);
    }

    PumpedListener directory_;
    PumpedListener service_;
    exchangetest::FakeDiscoverer::HostRef heard_;
    std::optional<PumpedPeer> peer_;
};

TEST_F(ServiceOfHigher, IsConnectedToWithAnOpeningThatNamesIt)
{
    offer();
    PumpedPeer stream = service_.accept();
    const std::string opening = stream.receive(20 + 4 + 24 + 2);
    EXPECT_EQ(opening.substr(0, 48),
              wire::number32(0) + wire::uuidBytes(wire::kOwn) + wire::text("FileTransfer"));
    const ServiceRef service = readyService(hosts_.at(0));
    EXPECT_EQ(service->port(), service_.port());
    EXPECT_TRUE(service->writePacket("question"));
    EXPECT_EQ(stream.receive(12), wire::packet("question"));
}

TEST_F(ServiceOfHigher, IsConnectedToOnceHoweverOftenItIsOffered)
{
    offer();
    offer();
    offer();
    PumpedPeer stream = service_.accept();
    readyService(hosts_.at(0));
    offer();
    settle();
    heard_->heardFrom(localhost());
    settle();
    EXPECT_FALSE(service_.hasPending());
}

TEST_F(ServiceOfHigher, IsConnectedToAgainWithTheNextBeacon)
{
    offer();
    PumpedPeer first = service_.accept();
    const HostRef host = hosts_.at(0);
    const ServiceRef service = readyService(host);
    first.close();
    ASSERT_TRUE(pumpUntil([&] { return !service->isReady(); }));
    heard_->heardFrom(localhost());
    PumpedPeer stream = service_.accept();
    EXPECT_TRUE(readyService(host));
}

TEST_F(ServiceOfHigher, KeepsTheFirstPort)
{
    offer();
    PumpedPeer stream = service_.accept();
    readyService(hosts_.at(0));
    PumpedListener other;
    peer_->send(wire::serviceInfo(wire::kHigher, "FileTransfer", other.port()));
    settle();
    EXPECT_FALSE(other.hasPending());
    EXPECT_EQ(hosts_.at(0)->service(serviceName())->port(), service_.port());
}

TEST_F(ServiceOfHigher, IsIgnoredIfWeDoNotOfferItOurselves)
{
    peer_->send(wire::serviceInfo(wire::kHigher, "Telnet", service_.port()));
    settle();
    EXPECT_FALSE(service_.hasPending());
    EXPECT_TRUE(hosts_.at(0)->services().isEmpty());
}

TEST_F(ServiceOfHigher, OfAnUnknownDeviceIsIgnored)
{
    const wire::Uuid stranger = wire::kStranger;
    peer_->send(wire::serviceInfo(stranger, "FileTransfer", service_.port()));
    settle();
    EXPECT_FALSE(service_.hasPending());
}

TEST_F(ServiceOfHigher, TellsOfANewServiceOnce)
{
    int told = 0;
    QObject::connect(hosts_.at(0).get(), &eboNetworkExchange::Host::servicesChanged, exchange_.get(),
                     [&told] { ++told; });
    offer();
    offer();
    settle();
    EXPECT_EQ(told, 1);
}

TEST_F(ServiceOfHigher, AnAddressThatIsHeardNoMoreLosesItsConnections)
{
    offer();
    PumpedPeer stream = service_.accept();
    const HostRef host = hosts_.at(0);
    const ServiceRef service = readyService(host);
    ASSERT_TRUE(pumpUntil([&] { return host->isConnected(); }));
    heard_->heardFrom(QHostAddress(QStringLiteral("203.0.113.9")));  // where it lives on
    const auto helper = heard_->addresses().at(0);
    Q_EMIT helper->removeAddressHelper(helper);
    EXPECT_TRUE(peer_->isClosed());
    EXPECT_TRUE(stream.isClosed());
    EXPECT_EQ(hosts_.size(), 1);
    EXPECT_FALSE(service->isReady());
}

// Its end.

TEST_F(DirectoryServer, HearsNothingMoreOnceItIsShutDown)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(hosts_.at(0));
    PumpedPeer silent = PumpedPeer::connectTo(servicePort());
    exchange_->shutDown();
    EXPECT_TRUE(peer.isClosed());
    EXPECT_TRUE(stream.isClosed());
    EXPECT_TRUE(silent.isClosed());
    const int before = hosts_.size();
    announce(wire::kHigher, 1);
    EXPECT_EQ(hosts_.size(), before);
}

}  // namespace
