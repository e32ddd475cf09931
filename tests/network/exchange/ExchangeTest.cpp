#include "network/exchange/ExchangeTest.h"

#include "runtime/deferredDeletions.h"

namespace exchangetest {

using eboNetworkExchange::NetworkExchange;

ExchangeTest::ExchangeTest()
    : collector_(std::make_unique<ebo::GarbageCollection>()),
      discoverer_(ebo::makeRef<FakeDiscoverer>(wire::uuid(wire::kOwn))),
      calls_(std::make_shared<eboNetworkExchange::ThreadCalls>()),
      exchange_(ebo::makeRef<NetworkExchange>(discoverer_, calls_))
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

RawPeer ExchangeTest::identifiedPeer(int from)
{
    RawPeer peer = RawPeer::connectTo(directoryPort(), from);
    peer.send(wire::whois(wire::kLower));
    const std::string greeting =
        wire::whois(wire::kOwn) + wire::serviceInfo(wire::kOwn, "FileTransfer", servicePort());
    EXPECT_EQ(peer.receive(greeting.size()), greeting);
    return peer;
}

RawPeer ExchangeTest::streamOfLower(int from)
{
    RawPeer peer = RawPeer::connectTo(servicePort(), from);
    peer.send(wire::serviceInfo(wire::kLower, "FileTransfer", 1));
    return peer;
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
