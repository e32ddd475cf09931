#include "network/exchange/ExchangeTest.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

#include <future>

namespace {

using exchangetest::ExchangeTest;
using exchangetest::PumpedListener;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
using testing::ElementsAre;
using testsupport::LogCapture;
namespace wire = exchangetest::wire;

const std::string kWrite = "bool eboNetworkExchange::Service::write(const QByteArray&, bool) ";

// Time stamps whose echo, at our device's present time, means a short and a very long way.
constexpr std::uint64_t kShortWay = 0;
constexpr std::uint64_t kLongWay = 0xf000000000000000;

/// A device with the lower uuid, which connects from several addresses.
class Service : public ExchangeTest {
protected:
    Service()
        : heard_(discoverer_->announce(wire::uuid(wire::kLower), 1,
                                       {localhost(), QHostAddress(QStringLiteral("127.0.0.2")),
                                        QHostAddress(QStringLiteral("127.0.0.3"))}))
    {}

    [[nodiscard]] HostRef host() const { return hosts_.at(0); }
    [[nodiscard]] ServiceRef service() { return readyService(host()); }

    /// A stream, once it is one of so many.
    PumpedPeer stream(int from)
    {
        PumpedPeer peer = streamOfLower(from);
        peer.send(wire::packet("here"));
        EXPECT_TRUE(pumpUntil([this] {
            const ServiceRef made = host()->service(serviceName());
            return made && made->readPacket() == "here";
        }));
        return peer;
    }

    /// Lets a directory connection measure its way.
    void measure(PumpedPeer& peer, std::uint64_t timeStamp)
    {
        peer.send(wire::ping(wire::kOwn, wire::kLower, timeStamp) +
                  wire::ping(wire::kLower, wire::kNobody, 0));
        EXPECT_EQ(peer.receive(44).size(), 44U);
    }

    exchangetest::FakeDiscoverer::HostRef heard_;
};

TEST_F(Service, WritesByTheWayWithTheLowestPing)
{
    PumpedPeer near = identifiedPeer(1);
    PumpedPeer far = identifiedPeer(2);
    measure(near, kShortWay);
    measure(far, kLongWay);
    PumpedPeer farStream = stream(2);
    PumpedPeer nearStream = stream(1);
    EXPECT_TRUE(service()->writePacket("mail"));
    EXPECT_EQ(nearStream.receive(8), wire::packet("mail"));
    measure(near, kLongWay - 1);
    measure(far, kShortWay);
    EXPECT_TRUE(service()->writePacket("post"));
    EXPECT_EQ(farStream.receive(8), wire::packet("post"));
    EXPECT_EQ(nearStream.received(), "");
}

TEST_F(Service, AWayThatHasNotBeenMeasuredComesFirst)
{
    PumpedPeer measured = identifiedPeer(1);
    PumpedPeer measuredStream = stream(1);
    measure(measured, kShortWay);
    PumpedPeer fresh = identifiedPeer(2);
    PumpedPeer freshStream = stream(2);
    EXPECT_TRUE(service()->writePacket("mail"));
    EXPECT_EQ(freshStream.receive(8), wire::packet("mail"));
    EXPECT_EQ(measuredStream.received(), "");
}

TEST_F(Service, WithoutAStreamOnTheLowestWayWritesByTheFirstAndReportsFailure)
{
    PumpedPeer measured = identifiedPeer(1);
    measure(measured, kShortWay);
    PumpedPeer first = stream(1);
    PumpedPeer second = stream(3);
    PumpedPeer fresh = identifiedPeer(2);
    EXPECT_FALSE(service()->writePacket("mail"));
    EXPECT_EQ(first.receive(8), wire::packet("mail"));
    EXPECT_EQ(second.received(), "");
}

TEST_F(Service, CannotWriteWithoutAStream)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer only = stream(1);
    const ServiceRef orphan = service();
    only.close();
    ASSERT_TRUE(pumpUntil([&] { return !orphan->isReady(); }));
    const LogCapture log;
    EXPECT_FALSE(orphan->writePacket("mail"));
    EXPECT_THAT(log.texts(), ElementsAre(kWrite + "failed to write, no streams available"));
    EXPECT_EQ(log.entries().at(0).category, "ebo.network.directory");
}

TEST_F(Service, CannotWriteWithoutADirectoryConnection)
{
    PumpedPeer only = streamOfLower();
    const ServiceRef made = service();
    const LogCapture log;
    EXPECT_FALSE(made->writePacket("mail"));
    EXPECT_THAT(log.texts(),
                ElementsAre(kWrite + "failed because there is no lowest ping connection (Remote Id: "
                                     "QUuid(\"{00000000-0000-4000-8000-000000000001}\") )"));
    EXPECT_EQ(only.received(), "");
}

TEST_F(Service, CannotWriteToADeviceThatHasGone)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer only = stream(1);
    const ServiceRef left = service();
    const ebo::weakptr<eboNetworkExchange::Host> gone(host());
    discoverer_->lose(heard_);
    ASSERT_TRUE(pumpUntil([&] { return !gone.isValid(); }));
    const LogCapture log;
    EXPECT_FALSE(left->writePacket("mail"));
    EXPECT_THAT(log.texts(), ElementsAre(kWrite + "failed because host no longer available"));
}

TEST_F(Service, AnEmptyPacketIsConsumedAndReadsAsNothing)
{
    PumpedPeer directory = identifiedPeer();
    PumpedPeer peer = stream(1);
    peer.send(wire::packet("") + wire::packet(""));
    peer.send(wire::number32(0));  // lets the second one complete
    ASSERT_TRUE(pumpUntil([this] { return service()->packetsAvailable(); }));
    EXPECT_EQ(service()->readPacket(), QByteArray());
    ASSERT_TRUE(pumpUntil([this] {
        (void)service()->readPacket();
        return !service()->packetsAvailable();
    }));
}

TEST_F(Service, PacketsKeepTheirOrderWithinAStreamOnly)
{
    PumpedPeer directory = identifiedPeer();
    PumpedPeer first = stream(1);
    PumpedPeer second = stream(2);
    second.send(wire::packet("s1") + wire::packet("s2"));
    ASSERT_TRUE(pumpUntil([this] { return service()->packetsAvailable(); }));
    int ready = 0;
    QObject::connect(service().get(), &eboNetworkExchange::Service::readyRead, exchange_.get(),
                     [&ready] { ++ready; });
    first.send(wire::packet("f1") + wire::packet("f2"));
    ASSERT_TRUE(pumpUntil([&ready] { return ready == 2; }));
    std::string read;
    while (service()->packetsAvailable())
        read += service()->readPacket().toStdString() + " ";
    EXPECT_EQ(read, "f1 f2 s1 s2 ");
}

TEST_F(Service, AStreamWithPacketsInItTellsOfThemOnce)
{
    PumpedListener listener;
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost(QHostAddress(QHostAddress::LocalHost), listener.port());
    ASSERT_TRUE(socket->waitForConnected());
    PumpedPeer peer = listener.accept();
    peer.send(wire::packet("one") + wire::packet("two") + wire::packet("three"));
    ASSERT_TRUE(socket->waitForReadyRead());
    const auto own =
        ebo::makeRef<eboNetworkExchange::Service>(ebo::weakptr<eboNetworkExchange::Host>(host()),
                                                  serviceName(), quint16{0}, wire::uuid(wire::kOwn), calls_);
    int told = 0;
    int readyChanged = 0;
    QObject::connect(own.get(), &eboNetworkExchange::Service::readyRead, [&told] { ++told; });
    QObject::connect(own.get(), &eboNetworkExchange::Service::isReadyChanged,
                     [&readyChanged](const auto& which) { readyChanged += which->isReady() ? 1 : 0; });
    own->addStream(socket.release());
    EXPECT_EQ(told, 1);
    EXPECT_EQ(readyChanged, 1);
    own->shutDown();
}

TEST_F(Service, CanBeWrittenAndReadOnOtherThreads)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer only = stream(1);
    const ServiceRef shared = service();
    auto writer = std::async(std::launch::async, [&] { return shared->writePacket("mail"); });
    EXPECT_EQ(only.receive(8), wire::packet("mail"));
    EXPECT_TRUE(writer.get());
    only.send(wire::packet("answer"));
    ASSERT_TRUE(pumpUntil([&] { return shared->packetsAvailable(); }));
    auto reader = std::async(std::launch::async, [&] { return shared->readPacket(); });
    ASSERT_TRUE(
        pumpUntil([&] { return reader.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(reader.get(), QByteArray("answer"));
}

TEST_F(Service, CanBeWrittenWithoutWaiting)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer only = stream(1);
    const ServiceRef shared = service();
    std::async(std::launch::async, [&] { shared->writePacketNonBlocking("mail"); }).wait();
    EXPECT_EQ(only.receive(8), wire::packet("mail"));
    shared->writePacketNonBlocking("post");
    EXPECT_EQ(only.receive(8), wire::packet("post"));
}

TEST_F(Service, LetsNobodyWaitForANetworkThatHasEnded)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer only = stream(1);
    const ServiceRef shared = service();
    std::promise<void> begun;
    auto writer = std::async(std::launch::async, [&] {
        begun.set_value();
        return shared->writePacket("mail");
    });
    begun.get_future().wait();
    exchange_->shutDown();  // this thread does not come to the write any more
    EXPECT_FALSE(writer.get());
    EXPECT_EQ(std::async(std::launch::async, [&] { return shared->readPacket(); }).get(), QByteArray());
}

}  // namespace
