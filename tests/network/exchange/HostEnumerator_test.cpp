#include "network/exchange/ExchangeTest.h"
#include "network/exchange/FakeNetwork.h"
#include "network/exchange/HostEnumerator.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace {

using exchangetest::ExchangeTest;
using exchangetest::FakeNetwork;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
using testing::ElementsAre;
using testing::IsEmpty;
namespace wire = exchangetest::wire;

class HostEnumerator : public ExchangeTest {
protected:
    HostEnumerator() : heard_(announce(wire::kLower, 1))
    {
        QObject::connect(&enumerator_, &eboNetworkExchange::HostEnumerator::hostAdded,
                         [this](const HostRef& host) { told_.push_back("added " + nameOf(host)); });
        QObject::connect(&enumerator_, &eboNetworkExchange::HostEnumerator::hostRemoved,
                         [this](const HostRef& host) { told_.push_back("removed " + nameOf(host)); });
        QObject::connect(&enumerator_, &eboNetworkExchange::HostEnumerator::hostEnumeratorEmpty,
                         [this] { told_.emplace_back("empty"); });
    }

    static std::string nameOf(const HostRef& host) { return host->name().toStdString(); }
    [[nodiscard]] HostRef host() const { return hosts_.at(0); }

    void begin()
    {
        enumerator_.start();
        network_->add(host());
    }

    exchangetest::FakeDiscoverer::HostRef heard_;
    ebo::refptr<FakeNetwork> network_ = ebo::makeRef<FakeNetwork>();
    eboNetworkExchange::HostEnumerator enumerator_{network_, {serviceName()}};
    std::vector<std::string> told_;
};

TEST_F(HostEnumerator, ListsADeviceOnceItIsConnectedAndItsServiceIsReady)
{
    begin();
    EXPECT_THAT(told_, IsEmpty());
    PumpedPeer peer = identifiedPeer();
    EXPECT_THAT(told_, IsEmpty());
    PumpedPeer stream = streamOfLower();
    readyService(host());
    EXPECT_THAT(told_, ElementsAre("added device"));
    PumpedPeer second = streamOfLower();
    EXPECT_THAT(enumerator_.hosts(), ElementsAre(host()));
}

TEST_F(HostEnumerator, AReadyServiceOfADeviceThatIsNotConnectedIsNotEnough)
{
    begin();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    EXPECT_THAT(told_, IsEmpty());
    PumpedPeer peer = identifiedPeer();
    EXPECT_THAT(told_, ElementsAre("added device"));
}

TEST_F(HostEnumerator, KnowsTheDevicesThatWereThereBefore)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    network_->add(host());
    enumerator_.start();
    EXPECT_THAT(told_, IsEmpty()) << "told on the network thread, not by the caller";
    ASSERT_TRUE(pumpUntil([this] { return !told_.empty(); }));
    EXPECT_THAT(told_, ElementsAre("added device"));
    network_->remove(host());
    EXPECT_THAT(told_, ElementsAre("added device", "removed device", "empty"));
}

TEST_F(HostEnumerator, ADeviceThatHasGoneBeforeItWasLookedAtIsNotListed)
{
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    network_->add(host());
    enumerator_.start();
    network_->remove(host());
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(HostEnumerator, AListedDeviceStaysUntilItGoes)
{
    begin();
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    stream.close();
    peer.close();
    ASSERT_TRUE(pumpUntil([this] { return !host()->isConnected(); }));
    EXPECT_THAT(told_, ElementsAre("added device"));
    network_->remove(host());
    EXPECT_THAT(told_, ElementsAre("added device", "removed device", "empty"));
}

TEST_F(HostEnumerator, CanDropADeviceWithItsService)
{
    enumerator_.setKeepWhileConnected(false);
    begin();
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(host());
    const testsupport::LogCapture log;
    stream.close();
    ASSERT_TRUE(pumpUntil([&] { return !service->isReady(); }));
    EXPECT_THAT(told_, ElementsAre("added device", "removed device", "empty"));
    EXPECT_THAT(log.texts(), testing::Contains(testing::HasSubstr(
                                 "service has disappeared, but Host is still connected!")));
}

TEST_F(HostEnumerator, CanListDevicesThatAreNotConnected)
{
    enumerator_.setRequireConnected(false);
    begin();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    EXPECT_THAT(told_, ElementsAre("added device"));
}

TEST_F(HostEnumerator, LetsListedDevicesBroadcastTheirServices)
{
    begin();
    int broadcasts = 0;
    QObject::connect(host().get(), &eboNetworkExchange::Host::serviceBroadcast, exchange_.get(),
                     [&broadcasts] { ++broadcasts; });
    enumerator_.broadcastServices();
    EXPECT_EQ(broadcasts, 0);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    readyService(host());
    enumerator_.broadcastServices();
    EXPECT_EQ(broadcasts, 1);
}

}  // namespace
