#include "network/exchange/Host.h"

#include "network/exchange/ExchangeTest.h"

#include <gmock/gmock.h>

namespace {

using exchangetest::ExchangeTest;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
namespace wire = exchangetest::wire;

class Host : public ExchangeTest {
protected:
    Host()
        : heard_(discoverer_->announce(wire::uuid(wire::kLower), 4711,
                                       {localhost(), QHostAddress(QStringLiteral("127.0.0.2"))}))
    {}

    [[nodiscard]] HostRef host() const { return hosts_.at(0); }
    [[nodiscard]] qint64 pingOfAddress(int index) const { return heard_->addresses().at(index)->ping(); }

    exchangetest::FakeDiscoverer::HostRef heard_;
};

TEST_F(Host, KnowsWhatDiscoveryKnows)
{
    EXPECT_EQ(host()->uuid(), wire::uuid(wire::kLower));
    EXPECT_EQ(host()->name(), QStringLiteral("device"));
    EXPECT_EQ(host()->applicationId(), QStringLiteral("Tunesift"));
    EXPECT_EQ(host()->applicationVersion(), QStringLiteral("1.0.0"));
    EXPECT_EQ(host()->port(), 4711);
    EXPECT_EQ(host()->addresses().size(), 2);
}

TEST_F(Host, DoesNotKeepTheDeviceThatDiscoveryHasForgotten)
{
    const HostRef left = host();
    const ebo::weakptr<eboDiscoverer::Host> gone(heard_);
    discoverer_->lose(heard_);
    heard_.reset();
    ASSERT_TRUE(pumpUntil([&gone] { return !gone.isValid(); }));
    EXPECT_EQ(left->port(), 0);
    EXPECT_TRUE(left->addresses().isEmpty());
    EXPECT_TRUE(left->name().isEmpty());
    EXPECT_EQ(left->uuid(), wire::uuid(wire::kLower));
    EXPECT_FALSE(left->isConnected());
}

TEST_F(Host, IsNotConnectedToADeviceThatDiscoveryHasDropped)
{
    PumpedPeer peer = identifiedPeer();
    EXPECT_TRUE(host()->isConnected());
    heard_->deactivate();
    EXPECT_FALSE(host()->isConnected());
}

TEST_F(Host, TellsOfItsConnectionsAsTheyComeAndGo)
{
    std::string told;
    QObject::connect(host().get(), &eboNetworkExchange::Host::numberOfDirectorySocketsChanged,
                     exchange_.get(), [&told] { told += "number "; });
    QObject::connect(host().get(), &eboNetworkExchange::Host::isConnectedChanged, exchange_.get(),
                     [&told](const HostRef& which) { told += which->isConnected() ? "up " : "down "; });
    PumpedPeer first = identifiedPeer(1);
    PumpedPeer second = identifiedPeer(2);
    EXPECT_EQ(told, "number up number ");
    first.close();
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 1; }));
    EXPECT_EQ(told, "number up number number ");
    second.close();
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    EXPECT_EQ(told, "number up number number number down ");
}

TEST_F(Host, EveryAddressHasThePingOfItsConnections)
{
    int told = 0;
    QObject::connect(host().get(), &eboNetworkExchange::Host::pingChanged, exchange_.get(),
                     [&told] { ++told; });
    PumpedPeer first = identifiedPeer(1);
    PumpedPeer second = identifiedPeer(2);
    EXPECT_EQ(host()->ping(), -1);
    constexpr std::uint64_t kLong = 0xf000000000000000;  // of a clock that runs from 0
    first.send(wire::ping(wire::kOwn, wire::kLower, kLong));
    ASSERT_TRUE(pumpUntil([this] { return pingOfAddress(0) != -1; }));
    EXPECT_EQ(pingOfAddress(1), -1);
    EXPECT_EQ(host()->ping(), pingOfAddress(0));
    second.send(wire::ping(wire::kOwn, wire::kLower, 0));
    ASSERT_TRUE(pumpUntil([this] { return pingOfAddress(1) != -1; }));
    EXPECT_LT(pingOfAddress(1), pingOfAddress(0));
    EXPECT_EQ(host()->ping(), pingOfAddress(1));
    EXPECT_EQ(told, 2);
    second.close();
    ASSERT_TRUE(pumpUntil([this] { return pingOfAddress(1) == -1; })) << "the way is not known any more";
}

TEST_F(Host, IsLoggedWithItsAddressesAndItsName)
{
    QString text;
    QDebug(&text) << *host();
    EXPECT_EQ(text.trimmed().toStdString(),
              "Host( QUuid(\"{00000000-0000-4000-8000-000000000001}\") , "
              "(QHostAddress(\"127.0.0.1\"), QHostAddress(\"127.0.0.2\")) , \"device\" )");
}

}  // namespace
