#pragma once

#include "network/exchange/FakeDiscoverer.h"
#include "network/exchange/NetworkExchange.h"
#include "network/exchange/PumpedPeer.h"
#include "network/exchange/pump.h"
#include "network/exchange/wire.h"
#include "runtime/GarbageCollection.h"

#include <gtest/gtest.h>

namespace exchangetest {

/// Our own device on the test's thread, with one service; the test plays the others with bare sockets.
class ExchangeTest : public testing::Test {
protected:
    using HostRef = ebo::refptr<eboNetworkExchange::Host>;
    using ServiceRef = ebo::refptr<eboNetworkExchange::Service>;

    ExchangeTest();
    ~ExchangeTest() override;

    static QString serviceName() { return QStringLiteral("FileTransfer"); }
    static QHostAddress localhost() { return {QHostAddress::LocalHost}; }

    [[nodiscard]] quint16 directoryPort() const { return directoryPort_; }
    [[nodiscard]] quint16 servicePort() const { return exchange_->serviceServers().first()->serverPort(); }

    /// A device with this uuid is heard at 127.0.0.1.
    FakeDiscoverer::HostRef announce(const wire::Uuid& uuid, quint16 port)
    {
        return discoverer_->announce(wire::uuid(uuid), port, {localhost()});
    }

    /// A directory connection of the lower device, which has said who it is; what it was greeted with has
    /// been read.
    PumpedPeer identifiedPeer(int from = 1);

    /// A service connection of the lower device.
    PumpedPeer streamOfLower(int from = 1);

    /// Waits until the host's service is there and ready.
    ServiceRef readyService(const HostRef& host);

    /// A beacon of the device comes, and what follows from it has happened.
    void hearBeacon(const FakeDiscoverer::HostRef& heard, const QHostAddress& from = localhost());

    /// Whether the peer is still talked to: a question of its is answered.
    [[nodiscard]] static bool isAnswered(PumpedPeer& peer);

    std::unique_ptr<ebo::GarbageCollection> collector_;
    ebo::refptr<FakeDiscoverer> discoverer_;
    std::shared_ptr<eboNetworkExchange::ThreadCalls> calls_;
    eboDiscoverer::LocalAddresses::Entries ownAddresses_ = eboDiscoverer::LocalAddresses::listOfSystem();
    int timesAskedForAddresses_ = 0;
    ebo::refptr<eboNetworkExchange::NetworkExchange> exchange_;
    QList<HostRef> hosts_;      // as the exchange tells of them
    int directorySockets_ = 0;  // likewise

private:
    quint16 directoryPort_ = 0;
};

}  // namespace exchangetest
