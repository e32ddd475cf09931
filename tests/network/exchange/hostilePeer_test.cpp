// Peers that do what no device does. Whatever it is, a good device is served afterwards.

#include "network/exchange/ExchangeTest.h"

#include "network/discovery/PeerBudget.h"
#include "support/LogCapture.h"
#include "support/repetitions.h"
#include "support/sanitizers.h"

#include <QElapsedTimer>

#include <algorithm>
#include <ctime>
#include <random>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using exchangetest::ExchangeTest;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
namespace wire = exchangetest::wire;

class HostilePeer : public ExchangeTest {
protected:
    HostilePeer()
    {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }

    void expectGoodDeviceServed()
    {
        if (hosts_.isEmpty())
            announce(wire::kLower, 1);
        PumpedPeer good = identifiedPeer();
        PumpedPeer stream = streamOfLower();
        stream.send(wire::packet("good"));
        const ServiceRef service = readyService(hosts_.at(0));
        ASSERT_TRUE(pumpUntil([&] { return service->packetsAvailable(); }));
        EXPECT_EQ(service->readPacket(), QByteArray("good"));
    }

    const testsupport::LogCapture quiet_;
};

TEST_F(HostilePeer, FiveHundredThatNeverSayAWordHinderNobody)
{
    std::vector<PumpedPeer> silent;
    for (int i = 0; i < 500; ++i) {
        silent.push_back(PumpedPeer::connectTo(directoryPort()));
        ASSERT_TRUE(pumpUntil([this, i] { return directorySockets_ == i + 1; }));
    }
    expectGoodDeviceServed();
    silent.clear();
    EXPECT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
}

TEST_F(HostilePeer, OfTooManyStrangersTheOldestGoAndDevicesStay)
{
    constexpr int kMost = eboDiscoverer::PeerBudget::kSockets;
    constexpr rlim_t kDescriptors = 2 * kMost + 100;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < kDescriptors) {
        limit.rlim_cur = std::min(kDescriptors, limit.rlim_max);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (limit.rlim_cur < kDescriptors)
        GTEST_SKIP() << "needs more descriptors than this system gives";
    announce(wire::kLower, 1);
    PumpedPeer device = identifiedPeer();
    std::vector<PumpedPeer> strangers;
    for (int i = 0; i < kMost; ++i) {
        strangers.push_back(PumpedPeer::connectTo(directoryPort()));
        EXPECT_EQ(strangers.back().receive(20), wire::whois(wire::kOwn));
    }
    EXPECT_TRUE(strangers.front().isClosed());
    EXPECT_EQ(directorySockets_, kMost);
    EXPECT_TRUE(hosts_.at(0)->isConnected());
}

TEST_F(HostilePeer, OfServiceConnectionsWithoutAnOpeningTheOldestGo)
{
    std::vector<PumpedPeer> silent;
    for (int i = 0; i < eboDiscoverer::PeerBudget::kOpenings + 1; ++i) {
        silent.push_back(PumpedPeer::connectTo(servicePort()));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(silent.front().isClosed());
    expectGoodDeviceServed();
}

TEST_F(HostilePeer, EveryMessageByteByByte)
{
    const std::string all = wire::whois(wire::kLower) + wire::serviceInfo(wire::kHigher, "FileTransfer", 9) +
                            wire::ping(wire::kLower, wire::kNobody, 1) +
                            wire::ping(wire::kOwn, wire::kLower, 1) + wire::number32(0xffffffff);
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    peer.sendSlowly(all);
    expectGoodDeviceServed();
}

TEST_F(HostilePeer, GarbageOnEveryPort)
{
    std::mt19937 random(20);  // any seed; the same each time
    for (int round = 0; round < testsupport::repetitions(200); ++round) {
        std::string bytes(random() % 3000, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        if (round % 2 == 0 && bytes.size() > 4)  // a type that is known, the rest wild
            bytes.replace(0, 4, wire::number32(static_cast<std::uint32_t>(random() % 3)));
        PumpedPeer peer = PumpedPeer::connectTo(round % 4 < 2 ? directoryPort() : servicePort());
        peer.send(bytes);
        QCoreApplication::processEvents();
    }
    expectGoodDeviceServed();
}

TEST_F(HostilePeer, AnOpeningWithoutAnEndIsClosed)
{
    PumpedPeer peer = PumpedPeer::connectTo(servicePort());
    peer.send(wire::number32(0) + wire::uuidBytes(wire::kLower) + wire::number32(0x7ffffffe) +
              std::string(2048, 'x'));
    EXPECT_TRUE(peer.isClosed());
}

TEST_F(HostilePeer, WildSizesInAStreamCostTheirBytes)
{
    announce(wire::kLower, 1);
    PumpedPeer peer = identifiedPeer();
    PumpedPeer stream = streamOfLower();
    const ServiceRef service = readyService(hosts_.at(0));
    const std::string largest(65534, 'l');
    stream.send(wire::number32(0xffffffff) + wire::number32(65535) + wire::number32(65536) +
                wire::number32(0x7fffffff) + wire::packet("") + wire::packet(largest));
    QByteArray read;
    ASSERT_TRUE(pumpUntil([&] {
        read = service->readPacket();
        return !read.isEmpty();
    }));
    EXPECT_EQ(read.toStdString(), largest);
}

TEST_F(HostilePeer, OneThatAsksAndNeverReadsIsDropped)
{
    PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += wire::ping(wire::kLower, wire::kNobody, 1);
    ASSERT_TRUE(pumpUntil([this] { return directorySockets_ == 1; }));
    EXPECT_TRUE(pumpUntil([&] {
        peer.trySend(many);
        return directorySockets_ == 0;
    }));
}

TEST_F(HostilePeer, ResetsAtEveryMoment)
{
    announce(wire::kLower, 1);
    const std::string talk = wire::whois(wire::kLower) + wire::ping(wire::kLower, wire::kNobody, 1);
    for (std::size_t size = 0; size <= talk.size(); ++size) {
        PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
        peer.send(talk.substr(0, size));
        if (size % 2 == 0)
            QCoreApplication::processEvents();
        peer.reset();
    }
    EXPECT_TRUE(pumpUntil([this] { return directorySockets_ == 0 && !hosts_.at(0)->isConnected(); }));
    expectGoodDeviceServed();
}

TEST_F(HostilePeer, ClaimingTheNamesOfEverybodyLeavesNothingBehind)
{
    announce(wire::kHigher, 0);
    for (int i = 0; i < 50; ++i) {
        PumpedPeer peer = PumpedPeer::connectTo(directoryPort());
        peer.send(wire::whois(wire::kOwn) + wire::whois(wire::kHigher) + wire::whois(wire::kNobody) +
                  wire::ping(wire::kLower, wire::kNobody, 1));
        peer.receive(64);
    }
    EXPECT_TRUE(pumpUntil([this] { return directorySockets_ == 0; }));
    EXPECT_TRUE(hosts_.at(0)->directorySockets().isEmpty());
}

class DescriptorsDeathTest : public ExchangeTest {
protected:
    void SetUp() override
    {
        if (testsupport::kIsSanitized)
            GTEST_SKIP() << "the sanitizers' look at an object's type needs descriptors itself";
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    /// Uses up every descriptor, lets two peers come, and frees them again.
    [[noreturn]] void useUpAndFree()
    {
        constexpr rlim_t kFew = 64;
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = kFew;
        ::setrlimit(RLIMIT_NOFILE, &limit);

        // One each that is taken in before: what fails next is then not the first thing that happens.
        PumpedPeer earlyDirectory = PumpedPeer::connectTo(directoryPort());
        PumpedPeer earlyService = PumpedPeer::connectTo(servicePort());
        const bool isAnsweredBefore = earlyDirectory.receive(20).size() == 20 &&
                                      pumpUntil([this] { return exchange_->socketCount() == 2; });

        int refusals = 0;
        QObject::connect(exchange_->serviceServers().first().get(), &QTcpServer::acceptError,
                         [&refusals] { ++refusals; });
        PumpedPeer directory = PumpedPeer::unconnected();
        PumpedPeer service = PumpedPeer::unconnected();
        std::vector<int> used;
        for (int copy = ::dup(STDIN_FILENO); copy != -1; copy = ::dup(STDIN_FILENO))
            used.push_back(copy);
        directory.connect(directoryPort());
        service.connect(servicePort());
        QElapsedTimer clock;
        clock.start();
        const std::clock_t processorBefore = std::clock();
        const bool triedAgain = pumpUntil([&refusals] { return refusals >= 3; });
        // Two seconds, in which nothing but the waiting itself needs the processor.
        const double seconds = static_cast<double>(clock.elapsed()) / 1000;
        const double busy = static_cast<double>(std::clock() - processorBefore) / CLOCKS_PER_SEC;
        const bool waits = seconds > 1.8 && busy < seconds / 2;
        for (const int descriptor : used)
            ::close(descriptor);
        const bool directoryServed = directory.receive(20) == wire::whois(wire::kOwn);
        service.send(wire::serviceInfo(wire::kLower, "FileTransfer", 1));
        const bool serviceServed = service.isClosed();  // since nobody knows the device
        std::_Exit(isAnsweredBefore && triedAgain && waits && directoryServed && serviceServed ? 0 : 1);
    }
};

TEST_F(DescriptorsDeathTest, ServersAcceptAgainOnceThereAreDescriptors)
{
    EXPECT_EXIT(useUpAndFree(), testing::ExitedWithCode(0), "");
}

}  // namespace
