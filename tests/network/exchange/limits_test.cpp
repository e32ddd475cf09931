// What one peer can make this device hold, and how long it can keep the others waiting.

#include "network/exchange/ExchangeTest.h"

#include "network/discovery/PeerBudget.h"
#include "support/LogCapture.h"
#include "support/sanitizers.h"

#include <QElapsedTimer>

#include <sys/resource.h>

namespace {

using eboDiscoverer::PeerBudget;
using exchangetest::ExchangeTest;
using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
namespace wire = exchangetest::wire;

class Limits : public ExchangeTest {
protected:
    /// Sends for as long as the connection takes something. @return bytes
    static std::size_t sendUntilItStops(PumpedPeer& peer, const std::string& bytes)
    {
        constexpr std::size_t kFarTooMuch = 256U << 20U;
        constexpr int kPatience = 30;  // rounds of the event loop without a byte
        std::size_t total = 0;
        std::size_t offset = 0;
        int idle = 0;
        EXPECT_TRUE(pumpUntil([&] {
            const std::size_t sent = peer.trySend(bytes.substr(offset));
            offset = (offset + sent) % bytes.size();
            total += sent;
            idle = sent == 0 ? idle + 1 : 0;
            return idle > kPatience || total > kFarTooMuch;
        }));
        return total;
    }

    /// What the system takes in for a socket that nobody reads, at both ends.
    static constexpr std::size_t kOfTheSystem = 16U << 20U;

    const testsupport::LogCapture quiet_;
};

TEST_F(Limits, NothingIsReadOfADeviceThatHasNotSaidWhoItIs)
{
    announce(wire::kLower, 1);
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    EXPECT_LT(sendUntilItStops(stream, wire::packet(std::string(60000, 'x'))), kOfTheSystem);
    EXPECT_FALSE(service->packetsAvailable());
    PumpedPeer peer = identifiedPeer();
    EXPECT_TRUE(pumpUntil([&] { return service->packetsAvailable(); })) << "now it has";
}

TEST_F(Limits, StreamWhosePacketsNobodyTakesIsReadNoFurther)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    const std::string packet = wire::packet(std::string(4096, 'x'));
    const std::size_t sent = sendUntilItStops(stream, packet);
    EXPECT_LT(sent, kOfTheSystem);
    // Once they are taken, it goes on, and nothing is lost.
    std::size_t taken = 0;
    EXPECT_TRUE(pumpUntil([&] {
        while (service->packetsAvailable())
            taken += static_cast<std::size_t>(service->readPacket().size()) + 4;
        return taken >= sent / packet.size() * packet.size();
    })) << taken
        << " of " << sent;
}

TEST_F(Limits, StreamsOfOneDeviceAreLimited)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    std::vector<PumpedPeer> streams;
    for (int i = 0; i < 300; ++i) {
        streams.push_back(streamOfLower());
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(streams.front().isClosed()) << "the oldest goes";
    EXPECT_TRUE(pumpUntil([this] { return exchange_->socketCount() < 12; }));
    streams.back().send(wire::packet("newest"));
    const ServiceRef service = readyService(hosts_.at(0));
    EXPECT_TRUE(pumpUntil([&] { return service->packetsAvailable(); }));
}

TEST_F(Limits, SilentConnectionsOfOneAddressMakeRoomForEachOtherAndNotForOthers)
{
    announce(wire::kLower, 1);
    PumpedPeer device = identifiedPeer(1);
    PumpedPeer stranger = PumpedPeer::connectTo(directoryPort(), 3);
    stranger.receive(20);
    std::vector<PumpedPeer> silent;
    for (int i = 0; i < PeerBudget::kSockets + 10; ++i) {
        silent.push_back(PumpedPeer::connectTo(directoryPort(), 2));
        ASSERT_EQ(silent.back().receive(20).size(), 20U);
    }
    EXPECT_TRUE(silent.front().isClosed());
    EXPECT_TRUE(isAnswered(device));
    EXPECT_TRUE(isAnswered(stranger));
    EXPECT_EQ(exchange_->socketCount(), PeerBudget::kSockets + 2);
}

TEST_F(Limits, OneThatAsksWithoutAnEndDoesNotKeepAnotherWaiting)
{
    PumpedPeer loud = PumpedPeer::connectTo(directoryPort(), 1);
    PumpedPeer quiet = PumpedPeer::connectTo(directoryPort(), 2);
    loud.receive(20);
    quiet.receive(20);
    // Small ones, of which a full read buffer holds three turns' worth, and a question after every nine.
    constexpr int kMessagesAQuestion = 10;
    std::string some;
    for (int i = 1; i < kMessagesAQuestion; ++i)
        some += wire::number32(77) + wire::uuidBytes(wire::kLower);
    some += wire::ping(wire::kLower, wire::kNobody, 1);
    static_assert(PeerBudget::kUnreadBytes / 23 > 2 * PeerBudget::kMessagesATurn);
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += some;
    ASSERT_EQ(loud.trySend(many), many.size()) << "all of it lies there before our end looks";
    quiet.send(wire::ping(wire::kLower, wire::kNobody, 2));
    EXPECT_EQ(quiet.receive(44).size(), 44U);
    EXPECT_LE(loud.received().size() / 44 * kMessagesAQuestion, 2U * PeerBudget::kMessagesATurn);
}

TEST_F(Limits, PacketsOfSeveralDevicesComeInTurns)
{
    const wire::Uuid other = wire::kLowerToo;
    announce(wire::kLower, 1);
    announce(other, 1);
    PumpedPeer loud = identifiedPeer();
    PumpedPeer quiet = PumpedPeer::connectTo(directoryPort());
    quiet.send(wire::whois(other));
    PumpedPeer loudStream = streamOfLower();
    PumpedPeer quietStream = PumpedPeer::connectTo(servicePort());
    quietStream.send(wire::serviceInfo(other, "FileTransfer", 1));
    const ServiceRef ofLoud = readyService(hosts_.at(0));
    const ServiceRef ofQuiet = readyService(hosts_.at(1));
    int taken = 0;
    bool hasCome = false;
    int takenBefore = 0;
    QObject::connect(ofLoud.get(), &eboNetworkExchange::Service::readyRead, exchange_.get(), [&] {
        while (ofLoud->packetsAvailable()) {
            ofLoud->readPacket();
            ++taken;
        }
    });
    QObject::connect(ofQuiet.get(), &eboNetworkExchange::Service::readyRead, exchange_.get(), [&] {
        hasCome = true;
        takenBefore = taken;
    });
    std::string many;
    constexpr int kPackets = 20000;
    for (int i = 0; i < kPackets; ++i)
        many += wire::packet("question");
    ASSERT_EQ(loudStream.trySend(many), many.size());
    ASSERT_EQ(quietStream.trySend(wire::packet("one")), 7U);
    ASSERT_TRUE(pumpUntil([&] { return hasCome; }));
    EXPECT_LT(takenBefore, 2 * PeerBudget::kMessagesATurn);
    EXPECT_TRUE(pumpUntil([&] { return taken == kPackets; }));
}

TEST_F(Limits, BeaconsThatComeThickAndFastAreToldAsOne)
{
    const auto heard = announce(wire::kLower, 1);
    int told = 0;
    QObject::connect(hosts_.at(0).get(), &eboNetworkExchange::Host::beacon, exchange_.get(),
                     [&told] { ++told; });
    for (int i = 0; i < 10000; ++i)
        heard->heardFrom(localhost());
    EXPECT_TRUE(pumpUntil([&told] { return told == 1; }));
    hearBeacon(heard);
    EXPECT_EQ(told, 2) << "the last word is not lost";
}

TEST_F(Limits, BeaconsOfOneDeviceAreToldTwentyTimesASecondAtTheMost)
{
    const auto heard = announce(wire::kLower, 1);
    int told = 0;
    QObject::connect(hosts_.at(0).get(), &eboNetworkExchange::Host::beacon, exchange_.get(),
                     [&told] { ++told; });
    QElapsedTimer clock;
    clock.start();
    for (int turn = 0; turn < 1000; ++turn) {
        heard->heardFrom(localhost());
        QCoreApplication::processEvents();
    }
    EXPECT_LE(told, clock.elapsed() / 50 + 1);
}

TEST_F(Limits, ConnectionsAreLookedAtFiftyTimesASecondAtTheMostWhoeverBeacons)
{
    constexpr int kDevices = 200;
    QList<exchangetest::FakeDiscoverer::HostRef> heard;
    wire::Uuid uuid = wire::kLower;
    for (int i = 0; i < kDevices; ++i) {
        uuid.at(1) = static_cast<std::uint8_t>(i);
        heard.append(announce(uuid, 1));
    }
    QCoreApplication::processEvents();
    timesAskedForAddresses_ = 0;
    QElapsedTimer clock;
    clock.start();
    for (const auto& device : heard) {
        device->heardFrom(localhost());
        QCoreApplication::processEvents();
    }
    EXPECT_LE(timesAskedForAddresses_, clock.elapsed() / 20 + 1);
    EXPECT_TRUE(pumpUntil([this] { return timesAskedForAddresses_ > 0; }));
}

TEST_F(Limits, AttemptUnderWayEndsWithItsDevice)
{
    PumpedListener listener;
    const auto heard = announce(wire::kHigher, listener.port());
    ASSERT_EQ(exchange_->socketCount(), 1) << "it is under way";
    discoverer_->lose(heard);
    EXPECT_EQ(exchange_->socketCount(), 0);
}

TEST_F(Limits, ConnectionToADeviceThatNeverSaidWhoItIsEndsWithIt)
{
    PumpedListener listener;
    const auto heard = announce(wire::kHigher, listener.port());
    PumpedPeer mute = listener.accept();
    ASSERT_EQ(mute.receive(20).size(), 20U);
    discoverer_->lose(heard);
    EXPECT_TRUE(mute.isClosed());
    EXPECT_EQ(exchange_->socketCount(), 0);
}

TEST_F(Limits, SocketThatBreaksWithoutAWordIsFoundByThePing)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    QTcpSocket* const socket = hosts_.at(0)->directorySockets().at(0);
    {
        const QSignalBlocker withoutAWord(socket);
        socket->abort();
    }
    EXPECT_EQ(directorySockets_, 1);
    EXPECT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    EXPECT_FALSE(hosts_.at(0)->isConnected());
}

TEST_F(Limits, SmallMessagesLeaveAtOnce)
{
    PumpedListener listener;
    announce(wire::kLower, 1);
    announce(wire::kHigher, listener.port());
    PumpedPeer incoming = identifiedPeer();
    PumpedPeer outgoing = listener.accept();
    outgoing.send(wire::whois(wire::kHigher));
    ASSERT_TRUE(pumpUntil([this] { return hosts_.at(1)->isConnected(); }));
    for (const HostRef& host : hosts_)
        EXPECT_EQ(host->directorySockets().at(0)->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
}

TEST_F(Limits, ServiceWithLowDelayHasIt)
{
    for (const bool lowDelay : {true, false}) {
        eboNetworkExchange::ServiceServer server(serviceName(), lowDelay);
        ASSERT_TRUE(server.startListening());
        QTcpSocket* accepted = nullptr;
        QObject::connect(&server, &eboNetworkExchange::ServiceServer::newServiceRequest,
                         [&accepted](const QString&, QTcpSocket* socket) { accepted = socket; });
        PumpedPeer peer = PumpedPeer::connectTo(server.serverPort());
        ASSERT_TRUE(pumpUntil([&accepted] { return accepted != nullptr; }));
        EXPECT_EQ(accepted->socketOption(QAbstractSocket::LowDelayOption).toInt(), lowDelay ? 1 : 0);
    }
}

TEST_F(Limits, ServiceThatCannotListenIsAWarningAndTheDirectoryListens)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer takes descriptors for itself";
    const auto exchange = ebo::makeRef<eboNetworkExchange::NetworkExchange>(discoverer_, calls_);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit none = limit;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    exchange->start({{serviceName(), false}});
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_FALSE(quiet_.texts().empty());
    EXPECT_EQ(quiet_.texts().back(), "Unable to start service: \"FileTransfer\"");
    ASSERT_EQ(exchange->serviceServers().size(), 1) << "it is one of ours all the same";
    EXPECT_EQ(exchange->serviceServers().first()->serverPort(), 0);
    EXPECT_NE(exchange->listenForDirectory(), 0);
    exchange->shutDown();
}

TEST_F(Limits, DirectoryThatCannotListenHasNoPort)
{
    EXPECT_EQ(exchange_->listenForDirectory(), 0) << "it listens already";
    ASSERT_FALSE(quiet_.texts().empty());
    EXPECT_EQ(quiet_.texts().back(), "Unable to start DirectoryServer");
}

}  // namespace
