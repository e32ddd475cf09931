#include "network/exchange/FakeDiscoverer.h"
#include "network/exchange/Network.h"
#include "network/exchange/PumpedPeer.h"
#include "network/exchange/pump.h"
#include "network/exchange/wire.h"
#include "runtime/GarbageCollection.h"
#include "runtime/deferredDeletions.h"
#include "support/LogCapture.h"
#include "support/eventually.h"
#include "support/repetitions.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QPointer>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <malloc.h>
#include <unistd.h>

namespace {

using eboNetworkExchange::Host;
using eboNetworkExchange::Network;
using exchangetest::FakeDiscoverer;
using exchangetest::PumpedPeer;
using exchangetest::pumpUntil;
namespace wire = exchangetest::wire;

int entriesOf(const char* directory)
{
    return QDir(QString::fromLatin1(directory))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

int threads() { return entriesOf("/proc/self/task"); }
int descriptors() { return entriesOf("/proc/self/fd"); }
std::size_t bytesInUse() { return mallinfo2().uordblks; }

/// A network with a connected device and a stream of its service, from the bring-up to the end.
class World {
public:
    World() : discoverer_(ebo::makeRef<FakeDiscoverer>(wire::uuid(wire::kOwn)))
    {
        collector_.start();
        network_ = ebo::makeRef<Network>(discoverer_, QList<eboNetworkExchange::ServiceDefinition>{
                                                          {QStringLiteral("FileTransfer"), false}});
    }

    ~World()
    {
        if (network_)
            end();
        service_.reset();
        discoverer_.reset();
    }

    void join()
    {
        network_->start();
        discoverer_->announce(wire::uuid(wire::kLower), 1, {QHostAddress(QHostAddress::LocalHost)});
        EXPECT_TRUE(pumpUntil([this] { return network_->hosts().size() == 1; }));
        directory_.emplace(PumpedPeer::connectTo(network_->directoryPort()));
        directory_->send(wire::whois(wire::kLower));
        const std::string greeting = directory_->receive(20 + 50);
        const auto port = static_cast<std::uint16_t>((static_cast<unsigned char>(greeting[68]) << 8) |
                                                     static_cast<unsigned char>(greeting[69]));
        stream_.emplace(PumpedPeer::connectTo(port));
        stream_->send(wire::serviceInfo(wire::kLower, "FileTransfer", 1) + wire::packet("hello"));
        EXPECT_TRUE(pumpUntil([this] {
            service_ = network_->hosts().at(0)->service(QStringLiteral("FileTransfer"));
            return service_ && service_->packetsAvailable();
        }));
    }

    /// Lets go of the network and waits until it has ended. @return milliseconds
    qint64 end()
    {
        const QPointer<Network> watched = network_.get();
        QElapsedTimer clock;
        clock.start();
        network_.reset();
        EXPECT_TRUE(pumpUntil([&watched] { return watched.isNull(); }));
        return clock.elapsed();
    }

    ebo::GarbageCollection collector_;
    ebo::refptr<FakeDiscoverer> discoverer_;
    ebo::refptr<Network> network_;
    ebo::refptr<eboNetworkExchange::Service> service_;
    std::optional<PumpedPeer> directory_;
    std::optional<PumpedPeer> stream_;
};

TEST(Network, ListensBeforeDiscoveryStarts)
{
    World world;
    EXPECT_EQ(world.network_->directoryPort(), 0);
    world.network_->start();
    EXPECT_NE(world.network_->directoryPort(), 0);
    EXPECT_EQ(world.discoverer_->directoryPort(), world.network_->directoryPort());
}

TEST(Network, ChoosesAnotherPortEachTime)
{
    World first;
    first.network_->start();
    const quint16 before = first.network_->directoryPort();
    const auto second =
        ebo::makeRef<Network>(first.discoverer_, QList<eboNetworkExchange::ServiceDefinition>{});
    second->start();
    EXPECT_NE(second->directoryPort(), before);
}

TEST(Network, TellsOfHostsOnItsOwnThread)
{
    World world;
    std::promise<QThread*> told;
    QObject::connect(
        world.network_.get(), &Network::hostAdded, world.network_.get(),
        [&told](const ebo::refptr<Host>&) { told.set_value(QThread::currentThread()); },
        Qt::DirectConnection);
    QThread* const thread = world.network_->networkThread();
    EXPECT_EQ(thread->objectName(), QStringLiteral("Network Exchange Thread"));
    world.join();
    EXPECT_EQ(told.get_future().get(), thread);
}

TEST(Network, ForgetsADeviceThatDiscoveryLoses)
{
    World world;
    world.join();
    world.discoverer_->lose(world.discoverer_->hosts().at(0));
    EXPECT_TRUE(pumpUntil([&world] { return world.network_->hosts().isEmpty(); }));
    EXPECT_TRUE(world.stream_->isClosed());
    EXPECT_TRUE(world.directory_->isClosed());
}

TEST(Network, ClosesItsConnectionsAtTheEnd)
{
    World world;
    world.join();
    world.end();
    EXPECT_TRUE(world.stream_->isClosed());
    EXPECT_TRUE(world.directory_->isClosed());
    EXPECT_FALSE(world.service_->writePacket("too late"));
    EXPECT_TRUE(world.service_->readPacket().isEmpty());
}

TEST(Network, EndsUnderThreadsThatWriteAndRead)
{
    const testsupport::LogCapture quiet;
    for (int round = 0; round < testsupport::repetitions(20); ++round) {
        World world;
        world.join();
        std::atomic<bool> done{false};
        constexpr int kUsers = 3;
        std::vector<std::future<void>> users;
        users.reserve(kUsers);
        for (int i = 0; i < kUsers; ++i) {
            users.push_back(std::async(std::launch::async, [&] {
                while (!done) {
                    world.service_->writePacket("from another thread");
                    world.service_->writePacketNonBlocking("likewise");
                    (void)world.service_->readPacket();
                    (void)world.service_->packetsAvailable();
                }
            }));
        }
        EXPECT_GT(world.stream_->receive(1000).size(), 0U);
        world.end();
        done = true;
    }
}

TEST(Network, ComplainsOfAThreadThatDoesNotEndAndWaitsForIt)
{
    const testsupport::LogCapture log;
    World world;
    world.join();
    bool hasComplained = false;
    // Whoever listens here is heard before the thread counts as ended.
    QObject::connect(world.network_->networkThread(), &QThread::finished, [&] {
        hasComplained =
            testsupport::eventually([&log] { return log.contains("Network thread failed to exit!"); });
    });
    world.end();
    EXPECT_TRUE(hasComplained);
}

TEST(Network, EndsWhateverElseWaitsForTheCollector)
{
    World world;
    world.join();
    const auto host = world.network_->hosts().at(0);
    const int before = threads();
    // What others have dropped would keep the collector busy for a minute.
    for (int i = 0; i < 600; ++i)
        ebo::makeRef<FakeDiscoverer>(wire::uuid(wire::kLower)).reset();
    world.network_->end();
    // The kernel takes a thread out of its list a little after whoever joined it was told.
    EXPECT_TRUE(testsupport::eventually([&] { return threads() == before - 1; }))
        << "joined, though references are left";
    EXPECT_FALSE(world.network_->isUp());
    EXPECT_TRUE(world.network_->hosts().isEmpty());
    EXPECT_TRUE(world.stream_->isClosed());
    EXPECT_TRUE(world.directory_->isClosed());
    world.network_->end();  // once more does nothing
}

TEST(Network, TellsOfAFailedSendAndNotOfAConnection)
{
    const testsupport::LogCapture log;
    World world;
    world.join();
    for (const auto& entry : log.entries())
        EXPECT_NE(entry.category.substr(0, 3), "ebo") << entry.text;
    world.network_->end();
    EXPECT_FALSE(world.service_->writePacket("too late"));
    const auto entries = log.entries();
    ASSERT_FALSE(entries.empty());
    EXPECT_EQ(entries.back().category, "ebo.network.directory");
    EXPECT_EQ(entries.back().type, QtWarningMsg);
    EXPECT_EQ(entries.back().text, "bool eboNetworkExchange::Service::write(const QByteArray&, bool) failed "
                                   "because host no longer available");
}

TEST(Network, TellsOfConnectionsToThoseWhoAsk)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.network.connection.info=true"));
    {
        const testsupport::LogCapture log;
        World world;
        world.join();
        const auto entries = log.entries();
        EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [](const auto& entry) {
            return entry.category == "ebo.network.connection" && entry.type == QtInfoMsg &&
                   entry.text.starts_with("New Connection:");
        }));
    }
    QLoggingCategory::setFilterRules(QString());
}

TEST(Network, CanEndOnItsOwnThread)
{
    const int before = threads();
    {
        World world;
        world.join();
        QThread* const thread = world.network_->networkThread();
        const QPointer<Network> watched = world.network_.get();
        watched->moveToThread(thread);
        world.network_.reset();
        EXPECT_TRUE(pumpUntil([&watched] { return watched.isNull(); }));
        EXPECT_TRUE(world.stream_->isClosed());
    }
    EXPECT_TRUE(pumpUntil([before] { return threads() == before; }));
}

/// What the process writes to standard output while this lives goes to the test.
class StandardOutput {
public:
    StandardOutput() : kept_(::dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
        ::dup2(ends_[1], STDOUT_FILENO);
    }
    ~StandardOutput()
    {
        std::fflush(stdout);
        ::dup2(kept_, STDOUT_FILENO);
        for (const int descriptor : {kept_, ends_[0], ends_[1]})
            ::close(descriptor);
    }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    /// Waits for so many bytes.
    [[nodiscard]] std::string read(std::size_t size) const
    {
        std::string bytes(size, '\0');
        for (std::size_t at = 0; at < size;) {
            const ssize_t count = ::read(ends_[0], bytes.data() + at, size - at);
            if (count <= 0)
                return "nothing more to read";
            at += static_cast<std::size_t>(count);
        }
        return bytes;
    }

private:
    const int kept_;
    std::array<int, 2> ends_{};
};

TEST(Network, ShowsThatItsThreadIsAliveIfAskedTo)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.network.threadindicator.debug=true"));
    {
        World world;
        const StandardOutput output;
        world.network_->start();
        EXPECT_EQ(output.read(8), "-\b\\\b|\b/\b");
    }
    QLoggingCategory::setFilterRules(QString());
}

TEST(Network, LeavesNothingBehindOfHundredsThatCameAndWent)
{
    const testsupport::LogCapture quiet;
    const int threadsBefore = threads();
    const int descriptorsBefore = descriptors();
    {
        World world;
        world.join();
        const quint16 port = world.network_->directoryPort();
        QList<FakeDiscoverer::HostRef> heard;
        std::vector<PumpedPeer> peers;
        constexpr int kDevices = 300;
        for (int i = 0; i < kDevices; ++i) {
            wire::Uuid raw = wire::kLower;
            raw.at(0) = static_cast<std::uint8_t>(i / 255);
            raw.at(1) = static_cast<std::uint8_t>(i % 255 + 1);
            heard.append(
                world.discoverer_->announce(wire::uuid(raw), 1, {QHostAddress(QHostAddress::LocalHost)}));
            peers.push_back(PumpedPeer::connectTo(port));
            peers.back().send(wire::whois(raw));
            EXPECT_EQ(peers.back().receive(20 + 50).size(), 70U) << "it is known and told of the service";
        }
        EXPECT_EQ(world.network_->hosts().size(), kDevices + 1);
        for (const auto& host : heard)
            world.discoverer_->lose(host);
        EXPECT_TRUE(pumpUntil([&world] { return world.network_->hosts().size() == 1; }));
        for (PumpedPeer& peer : peers)
            EXPECT_TRUE(peer.isClosed());
        EXPECT_TRUE(world.service_->writePacket("still here"));
        world.end();
    }
    ebo::deliverDeferredDeletions();
    EXPECT_EQ(threads(), threadsBefore);
    EXPECT_EQ(descriptors(), descriptorsBefore);
}

TEST(Network, LeavesNothingBehind)
{
    const auto rounds = [](int count) {
        qint64 slowest = 0;
        for (int i = 0; i < count; ++i) {
            World world;
            world.join();
            slowest = std::max(slowest, world.end());
        }
        ebo::deliverDeferredDeletions();
        return slowest;
    };
    rounds(5);  // what is made once
    const int threadsBefore = threads();
    const int descriptorsBefore = descriptors();
    const std::size_t bytesBefore = bytesInUse();
    const int count = testsupport::repetitions(50);
    const qint64 slowest = rounds(count);
    EXPECT_EQ(threads(), threadsBefore);
    EXPECT_EQ(descriptors(), descriptorsBefore);
    constexpr std::size_t kNoise = 16 * 1024;
    EXPECT_LE(bytesInUse(), bytesBefore + kNoise);
    RecordProperty("slowestEndMilliseconds", std::to_string(slowest));
}

}  // namespace
