// Peers that mean ill or know no better. After each of them the device is joined with an honest one as
// before.

#include "network/peer/BeaconSocket.h"
#include "network/peer/PeerConnection.h"
#include "network/world/WorldTest.h"
#include "support/repetitions.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

namespace {

using namespace world;
using peer::BeaconSocket;
using peer::PeerConnection;
using testing::HasSubstr;
using testing::Not;

class Hostile : public WorldTest {
protected:
    void SetUp() override
    {
        WorldTest::SetUp();
        if (IsSkipped())
            return;
        net_ = std::make_unique<Net>();
        device_ = std::make_unique<DeviceProcess>(net_->places[0]);
        port_ = device_->directoryPort();
    }

    void TearDown() override
    {
        if (IsSkipped())
            return;
        ASSERT_TRUE(device_->isRunning()) << device_->log().toStdString();
        const DeviceProcess honest(net_->places[1]);
        EXPECT_TRUE(until([&] { return areJoined(*device_, honest); })) << device_->log().toStdString();
    }

    const NetworkNamespace& enemy() const { return net_->places[2]; }

    static QString written(const peer::Uuid& uuid) { return QString::fromStdString(peer::written(uuid)); }

    /// Lets the device hear of a peer, and waits until it lists it. As from a real one, beacons go on until
    /// then: a datagram may be lost.
    [[nodiscard]] bool introduce(const peer::BeaconFields& fields)
    {
        const BeaconSocket mouth(enemy(), "10.0.0.3");
        const peer::Bytes beacon = peer::beacon(fields);
        QTimer voice;
        QObject::connect(&voice, &QTimer::timeout, [&] { mouth.send(beacon); });
        voice.start(200);
        mouth.send(beacon);
        return until([&] { return device_->sees(written(fields.uuid)); });
    }

    /// A number from /proc/PID/status.
    [[nodiscard]] qint64 status(const char* field) const
    {
        const QRegularExpression line(QLatin1String(field) + QStringLiteral(":\\s+(\\d+)"));
        return line.match(processFile("status")).captured(1).toLongLong();
    }

    [[nodiscard]] int openDescriptors() const
    {
        return QDir(QStringLiteral("/proc/%1/fd").arg(device_->processId()))
            .entryList(QDir::Files | QDir::System)
            .size();
    }

    /// The device ends objects when they have been dead for a second of its processor time: gives it work for
    /// that long.
    [[nodiscard]] bool letTheDeadRest(const BeaconSocket& mouth) const
    {
        const double begin = processorSeconds();
        return until([&] {
            for (int i = 0; i < 1000; ++i)
                mouth.send(peer::Bytes(1400, 'x'), "10.0.0.1");
            QTimer::singleShot(1, QCoreApplication::instance(), [] {});
            constexpr double kSeconds = 1.2;
            return processorSeconds() > begin + kSeconds;
        });
    }

private:
    [[nodiscard]] QString processFile(const char* name) const
    {
        QFile file(QStringLiteral("/proc/%1/%2").arg(device_->processId()).arg(QLatin1String(name)));
        file.open(QIODevice::ReadOnly);
        return QString::fromUtf8(file.readAll());
    }

    [[nodiscard]] double processorSeconds() const
    {
        // Behind the name in parentheses; fields 14 and 15 of the whole.
        const QStringList fields = processFile("stat").section(QLatin1Char(')'), -1).split(QLatin1Char(' '));
        return (fields.value(12).toDouble() + fields.value(13).toDouble()) /
               static_cast<double>(sysconf(_SC_CLK_TCK));
    }

protected:
    struct Net {
        Net()
        {
            for (int i = 0; i < 3; ++i)
                wire.plug(places[i], QStringLiteral("eth0"), {QStringLiteral("10.0.0.%1/24").arg(i + 1)});
        }
        NetworkSwitch wire;
        NetworkNamespace places[4];  // the last one is plugged in by who needs it
    };

    std::unique_ptr<Net> net_;
    std::unique_ptr<DeviceProcess> device_;
    std::uint16_t port_ = 0;
};

TEST_F(Hostile, PeersThatConnectAndSayNothingAreToldWhoWeAre)
{
    std::vector<PeerConnection> silent;
    for (int i = 0; i < 30; ++i)
        silent.emplace_back(enemy(), "10.0.0.1", port_);
    for (const PeerConnection& connection : silent)
        EXPECT_EQ(connection.receive(peer::kWhoisSize),
                  peer::whois(peer::uuidFrom(device_->uuid().toStdString())));
}

TEST_F(Hostile, MessagesThatComeByteByByteDoNoHarm)
{
    ASSERT_TRUE(introduce({.uuid = peer::kLowestUuid}));
    const PeerConnection slow(enemy(), "10.0.0.1", port_);
    slow.sendBytewise(peer::whois(peer::kLowestUuid));
    slow.sendBytewise(peer::ping(peer::kLowestUuid, {}, 1));
    slow.sendBytewise(peer::serviceInfo(peer::kLowestUuid, "FileTransfer", 1));

    // One that speaks in whole messages is answered meanwhile.
    const PeerConnection fluent(enemy(), "10.0.0.1", port_);
    const peer::Uuid device = peer::uuidFrom(device_->uuid().toStdString());
    ASSERT_EQ(fluent.receive(peer::kWhoisSize), peer::whois(device));
    const peer::Bytes question = peer::ping(peer::kLowestUuid, {}, 0x8000000000000000U);
    fluent.send(question);
    EXPECT_EQ(fluent.receive(question.size()), peer::ping(peer::kLowestUuid, device, 0x8000000000000000U));
}

TEST_F(Hostile, OpeningOfAServiceConnectionMayComeByteByByte)
{
    ASSERT_TRUE(introduce({.uuid = peer::kLowestUuid}));
    const PeerConnection directory(enemy(), "10.0.0.1", port_);
    ASSERT_EQ(directory.receive(peer::kWhoisSize).size(), peer::kWhoisSize);
    directory.send(peer::whois(peer::kLowestUuid));
    const peer::Uuid device = peer::uuidFrom(device_->uuid().toStdString());
    const peer::Bytes head = peer::number32(0) + peer::uuidBytes(device) + peer::text("FileTransfer");
    ASSERT_EQ(directory.receive(head.size()), head) << "the higher uuid announces its service";
    const peer::Bytes port = directory.receive(2);
    ASSERT_EQ(port.size(), 2U);
    const auto servicePort = static_cast<std::uint16_t>(static_cast<std::uint8_t>(port[0]) * 256 +
                                                        static_cast<std::uint8_t>(port[1]));

    const PeerConnection service(enemy(), "10.0.0.1", servicePort);
    service.sendBytewise(peer::serviceInfo(peer::kLowestUuid, "FileTransfer", 0));
    EXPECT_TRUE(until([&] { return device_->isReadyFor(written(peer::kLowestUuid)); }));

    const PeerConnection unknown(enemy(), "10.0.0.1", servicePort);
    unknown.send(peer::serviceInfo(peer::kHighestUuid, "FileTransfer", 0));
    EXPECT_TRUE(unknown.isClosedByPeer()) << "nobody has heard of that device";
    const PeerConnection otherService(enemy(), "10.0.0.1", servicePort);
    otherService.send(peer::serviceInfo(peer::kLowestUuid, "Other", 0));
    EXPECT_TRUE(otherService.isClosedByPeer()) << "that service is not offered";
    const PeerConnection endless(enemy(), "10.0.0.1", servicePort);
    endless.send(peer::number32(0) + peer::uuidBytes(peer::kLowestUuid) + peer::number32(0x7ffffffe) +
                 peer::Bytes(2000, 'x'));
    EXPECT_TRUE(endless.isClosedByPeer()) << "no opening is that long";
}

TEST_F(Hostile, PeerThatAsksAndNeverReadsIsCutOff)
{
    const PeerConnection deaf(enemy(), "10.0.0.1", port_);
    peer::Bytes questions;
    for (int i = 0; i < 1000; ++i)
        questions += peer::ping(peer::kLowestUuid, {}, 1);
    EXPECT_THROW(for (int i = 0; i < 10000; ++i) deaf.send(questions), std::runtime_error);
}

TEST_F(Hostile, GarbageIsNoBeacon)
{
    const BeaconSocket mouth(enemy(), "10.0.0.3");
    std::mt19937 chance(20240607);
    std::uniform_int_distribution<std::size_t> size(0, 1400);
    std::uniform_int_distribution<int> octet(0, 255);
    const int datagrams = testsupport::repetitions(10000);
    for (int i = 0; i < datagrams; ++i) {
        peer::Bytes garbage(size(chance), '\0');
        for (char& character : garbage)
            character = static_cast<char>(octet(chance));
        if (i % 2 == 0)
            garbage.insert(0, "eboD");
        mouth.send(garbage, "10.0.0.1");
    }
    ASSERT_TRUE(introduce({.uuid = peer::kHighestUuid}));
    EXPECT_EQ(device_->numberOfDevices(), 1) << "the one that said a proper word";
}

TEST_F(Hostile, CutBeaconsNameNobodyUnlessTheGreetingIsThere)
{
    const BeaconSocket mouth(enemy(), "10.0.0.3");
    peer::BeaconFields fields;
    const peer::Bytes whole = peer::beacon(fields);
    const std::size_t greetingEnd =
        4 + 16 + peer::text(fields.hostName).size() + peer::text(fields.message).size();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        fields.uuid = {1, static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
        mouth.send(peer::beacon(fields).substr(0, size));
    }
    ASSERT_TRUE(introduce({.uuid = peer::kHighestUuid}));
    EXPECT_EQ(device_->numberOfDevices(), static_cast<int>(whole.size() - greetingEnd) + 1);
}

TEST_F(Hostile, NamesCannotSteerATerminal)
{
    // The human form of the list, while JSON escapes by itself.
    QProcess human;
    {
        const NetworkNamespace::Visit visit(net_->places[1]);
        human.start(QStringLiteral(TUNESIFT),
                    {QStringLiteral("devices"), QStringLiteral("--for"), QStringLiteral("60")});
    }
    ASSERT_TRUE(human.waitForStarted());
    const BeaconSocket mouth(enemy(), "10.0.0.3");
    QByteArray output;
    ASSERT_TRUE(until([&] {
        mouth.send(peer::beacon({.uuid = peer::kHighestUuid, .hostName = "\x1b[2Jgone\n-"}));
        output += human.readAllStandardOutput();
        return output.contains(peer::written(peer::kHighestUuid).c_str());
    }));
    human.kill();
    human.waitForFinished();
    EXPECT_THAT(output.toStdString(), HasSubstr("+  ?[2Jgone?-  Other 9.9  10.0.0.3  -  -  "));
    EXPECT_THAT(output.toStdString(), Not(HasSubstr("\x1b")));
}

TEST_F(Hostile, CrowdThatComesAndGoesLeavesNothingBehind)
{
    constexpr int kHosts = 500;
    const BeaconSocket mouth(enemy(), "10.0.0.3");
    int generation = 0;
    // Every one of them names a port where nobody listens; half of them are such that we connect.
    const auto crowd = [&](int seconds) {
        ++generation;
        std::vector<peer::Bytes> voices;
        for (int i = 0; i < kHosts; ++i) {
            peer::BeaconFields fields;
            fields.uuid.fill(i % 2 == 0 ? 0x01 : 0xff);
            fields.uuid.at(13) = static_cast<std::uint8_t>(generation);
            fields.uuid.at(14) = static_cast<std::uint8_t>(i >> 8);
            fields.uuid.at(15) = static_cast<std::uint8_t>(i);
            fields.port = 9;
            voices.push_back(peer::beacon(fields));
        }
        // Ten times a second each: the device's socket may drop some when they all talk at once.
        QTimer choir;
        QObject::connect(&choir, &QTimer::timeout, [&] {
            for (const peer::Bytes& voice : voices)
                mouth.send(voice, "10.0.0.1");
        });
        choir.start(100);
        QElapsedTimer clock;
        clock.start();
        const bool all =
            until([&] { return device_->numberOfDevices() == kHosts && clock.hasExpired(1000LL * seconds); });
        choir.stop();
        return all && until([&] { return device_->numberOfDevices() == 0; }) && letTheDeadRest(mouth);
    };
    ASSERT_TRUE(crowd(1));
    const qint64 threads = status("Threads");
    const qint64 kibibytes = status("VmRSS");
    const qint64 descriptors = openDescriptors();
    ASSERT_TRUE(crowd(testsupport::repetitions(10)));
    ASSERT_TRUE(crowd(testsupport::repetitions(10)));
    EXPECT_EQ(status("Threads"), threads);
    EXPECT_EQ(openDescriptors(), descriptors);
#ifndef __SANITIZE_ADDRESS__  // which keeps what is freed
    // What an allocator keeps. A kibibyte for each host that has ever come would be 1,000.
    constexpr qint64 kSlack = 700;
    EXPECT_LE(status("VmRSS"), kibibytes + kSlack);
#else
    Q_UNUSED(kibibytes);
#endif
}

TEST_F(Hostile, SilentPeersDoNotUseUpFewDescriptors)
{
    constexpr int kFew = 256;
    device_ = std::make_unique<DeviceProcess>(net_->places[1], QStringList(), QString(), kFew);
    port_ = device_->directoryPort();
    DeviceProcess honest(net_->places[0]);
    ASSERT_TRUE(until([&] { return areJoined(*device_, honest); }));
    std::vector<PeerConnection> silent;
    for (int i = 0; i < 2 * kFew; ++i)
        silent.emplace_back(enemy(), "10.0.0.2", port_);
    const BeaconSocket mouth(enemy(), "10.0.0.3");
    QTimer choir;
    int voice = 0;
    QObject::connect(&choir, &QTimer::timeout, [&] {
        peer::BeaconFields fields{.uuid = {0xff, static_cast<std::uint8_t>(++voice)}, .port = 9};
        mouth.send(peer::beacon(fields));
    });
    choir.start(20);
    constexpr int kTwoPings = 11000;  // milliseconds
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(until([&] { return clock.hasExpired(kTwoPings); }));
    EXPECT_LT(openDescriptors(), kFew / 2);
    EXPECT_EQ(device_->timesGone(honest.uuid()), 0);
    EXPECT_EQ(honest.timesGone(device_->uuid()), 0);
    EXPECT_TRUE(areJoined(*device_, honest)) << device_->log().toStdString();
    net_->wire.plug(net_->places[3], QStringLiteral("eth0"), {QStringLiteral("10.0.0.4/24")});
    DeviceProcess newcomer(net_->places[3]);
    EXPECT_TRUE(until([&] { return areJoined(*device_, newcomer); }));
}

TEST_F(WorldTest, DeviceWhosePortIsTakenIsMuteButAlive)
{
    const TwoPlaces places;
    const NetworkNamespace& a = places.a;
    const NetworkNamespace& b = places.b;
    const BeaconSocket thief(a, "0.0.0.0", peer::kBeaconPort);
    DeviceProcess deaf(a);
    DeviceProcess hearing(b);
    EXPECT_TRUE(until([&] { return hearing.sees(deaf.uuid()); })) << "it still sends beacons";
    EXPECT_TRUE(
        until([&] { return deaf.log().contains(QStringLiteral("Receiver failed to bind port: 51337")); }));
    EXPECT_EQ(deaf.numberOfDevices(), 0);
    EXPECT_TRUE(deaf.isRunning());
}

}  // namespace
