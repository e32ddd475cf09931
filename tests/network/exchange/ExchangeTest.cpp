#include "network/exchange/ExchangeTest.h"

#include "runtime/deferredDeletions.h"

namespace exchangetest {

using eboNetworkExchange::NetworkExchange;

ExchangeTest::ExchangeTest()
    : collector_(std::make_unique<ebo::GarbageCollection>()),
      discoverer_(ebo::makeRef<FakeDiscoverer>(wire::uuid(wire::kOwn))),
      calls_(std::make_shared<eboNetworkExchange::ThreadCalls>()),
      exchange_(ebo::makeRef<NetworkExchange>(discoverer_, calls_,
                                              std::make_shared<eboDiscoverer::LocalAddresses>([this] {
                                                  ++timesAskedForAddresses_;
                                                  return ownAddresses_;
                                              })))
{
    collector_->start();
    exchange_->start({{serviceName(), false}});
    directoryPort_ = exchange_->listenForDirectory();
    QObject::connect(exchange_.get(), &NetworkExchange::hostAdded, exchange_.get(),
                     [this](const HostRef& host) { hosts_.append(host); });
    QObject::connect(exchange_.get(), &NetworkExchange::hostRemoved, exchange_.get(),
                     [this](const HostRef& host) { hosts_.removeOne(host); });
    QObject::connect(exchange_.get(), &NetworkExchange::numberOfDirectorySocketsChanged, exchange_.get(),
                     [this](int count) { directorySockets_ = count; });
}

ExchangeTest::~ExchangeTest()
{
    exchange_->shutDown();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    hosts_.clear();
    exchange_.reset();
    discoverer_.reset();
    collector_.reset();
    ebo::deliverDeferredDeletions();
}

PumpedPeer ExchangeTest::identifiedPeer(int from)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort(), from);
    peer.send(wire::whois(wire::kLower));
    const std::string greeting =
        wire::whois(wire::kOwn) + wire::serviceInfo(wire::kOwn, "FileTransfer", servicePort());
    EXPECT_EQ(peer.receive(greeting.size()), greeting);
    return peer;
}

PumpedPeer ExchangeTest::streamOfLower(int from)
{
    PumpedPeer peer = PumpedPeer::connectTo(servicePort(), from);
    peer.send(wire::serviceInfo(wire::kLower, "FileTransfer", 1));
    return peer;
}

void ExchangeTest::hearBeacon(const FakeDiscoverer::HostRef& heard, const QHostAddress& from)
{
    heard->heardFrom(from);
    // Beacons are gathered, and so are the looks at a host's connections: 70 ms in all.
    constexpr int kLongEnoughMilliseconds = 150;
    const QDeadlineTimer over(kLongEnoughMilliseconds);
    EXPECT_TRUE(pumpUntil([&over] { return over.hasExpired(); }));
}

bool ExchangeTest::isAnswered(PumpedPeer& peer)
{
    const std::string question = wire::ping(wire::kLower, wire::kNobody, 77);
    const std::string answer = wire::ping(wire::kLower, wire::kOwn, 77);
    peer.send(question);
    std::string heard;
    return pumpUntil([&] {
               heard += peer.received();
               return heard.find(answer) != std::string::npos || peer.hasEnded();
           }) &&
           !peer.hasEnded();
}

ExchangeTest::ServiceRef ExchangeTest::readyService(const HostRef& host)
{
    EXPECT_TRUE(pumpUntil([&] {
        const ServiceRef service = host->service(serviceName());
        return service && service->isReady();
    }));
    return host->service(serviceName());
}

}  // namespace exchangetest
