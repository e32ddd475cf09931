#include "network/discovery/Receiver.h"

#include "network/discovery/discoveryPort.h"
#include "network/peer/BeaconSocket.h"
#include "support/LogCapture.h"
#include "support/NamespaceTest.h"
#include "support/until.h"

#include <QUdpSocket>

#include <gmock/gmock.h>

namespace {

using eboDiscoverer::Receiver;
using peer::BeaconSocket;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::NetworkNamespace;
using testsupport::until;

constexpr quint16 kPort = 51337;

/// A receiver in a namespace, with a mouth next to it on the same interface.
class Hearing : public testsupport::NamespaceTest {
protected:
    void SetUp() override
    {
        NamespaceTest::SetUp();
        if (IsSkipped())
            return;
        home_.emplace();
        home_->run(QStringLiteral("ip addr add 10.0.0.1/24 dev lo"));
        QObject::connect(&receiver_, &Receiver::newHost,
                         [this](const QUuid& uuid, const QHostAddress& address, const QString& name,
                                quint16 port, const QString& appId, const QString& appVersion) {
                             heard_.push_back((uuid.toString(QUuid::WithoutBraces) + QLatin1Char(' ') +
                                               QHostAddress(address.toIPv4Address()).toString() +
                                               QLatin1Char(' ') + name + QLatin1Char(' ') +
                                               QString::number(port) + QLatin1Char(' ') + appId +
                                               QLatin1Char(' ') + appVersion)
                                                  .toStdString());
                         });
        QObject::connect(&receiver_, &Receiver::removeHost, [this](const QUuid& uuid) {
            left_.push_back(uuid.toString(QUuid::WithoutBraces).toStdString());
        });
    }

    void listen()
    {
        const NetworkNamespace::Visit visit(*home_);
        receiver_.listen(kPort);
    }

    void say(const peer::Bytes& datagram, const char* from = "10.0.0.1") const
    {
        BeaconSocket(*home_, from).send(datagram, "10.0.0.1");
    }

    /// Everything that was said before has been heard when this returns true.
    [[nodiscard]] bool hearsTheLastWord()
    {
        say(peer::beacon({.uuid = peer::kHighestUuid, .message = "DISCOVERER_EXIT_"}));
        const std::string last = peer::written(peer::kHighestUuid);
        return until([&] { return !left_.empty() && left_.back() == last; });
    }

    std::optional<NetworkNamespace> home_;
    std::vector<std::string> heard_;
    std::vector<std::string> left_;
    Receiver receiver_;
};

TEST_F(Hearing, TellsOfGreetingsWithAllThatTheySay)
{
    listen();
    say(peer::beacon({.uuid = {0xab}, .hostName = "pult", .port = 4321}));
    ASSERT_TRUE(hearsTheLastWord());
    EXPECT_THAT(heard_, ElementsAre("ab000000-0000-0000-0000-000000000000 10.0.0.1 pult 4321 Other 9.9"));
}

TEST_F(Hearing, TellsOfFarewells)
{
    listen();
    say(peer::beacon({.uuid = peer::kLowestUuid, .message = "DISCOVERER_EXIT_"}));
    ASSERT_TRUE(hearsTheLastWord());
    EXPECT_THAT(left_, ElementsAre(peer::written(peer::kLowestUuid), peer::written(peer::kHighestUuid)));
    EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(Hearing, IgnoresOtherWords)
{
    listen();
    for (const char* const word : {"", "DISCOVERER_HOWDY", "discoverer_howdy_", "DISCOVERER_HOWDY_ "})
        say(peer::beacon({.uuid = {1}, .message = word}));
    say("eboX" + peer::beacon({.uuid = {1}}).substr(4));
    say("");
    say("ebo");
    ASSERT_TRUE(hearsTheLastWord());
    EXPECT_THAT(heard_, IsEmpty());
    EXPECT_EQ(left_.size(), 1U);
}

TEST_F(Hearing, IgnoresLoopback)
{
    listen();
    const BeaconSocket loopback(*home_, "127.0.0.1");
    const BeaconSocket otherLoopback(*home_, "127.1.2.3");
    loopback.send(peer::beacon({.uuid = {1}}), "127.0.0.1");
    otherLoopback.send(peer::beacon({.uuid = {2}}), "127.0.0.1");
    ASSERT_TRUE(hearsTheLastWord());
    EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(Hearing, IgnoresLoopbackOfIPv6)
{
    listen();
    {
        const NetworkNamespace::Visit visit(*home_);
        QUdpSocket mouth;
        ASSERT_TRUE(mouth.bind(QHostAddress(QHostAddress::LocalHostIPv6)));
        const peer::Bytes beacon = peer::beacon({.uuid = {1}});
        ASSERT_EQ(mouth.writeDatagram(QByteArray::fromStdString(beacon),
                                      QHostAddress(QHostAddress::LocalHostIPv6), kPort),
                  static_cast<qint64>(beacon.size()));
        say(peer::beacon({.uuid = {1}}).substr(0, 10));
    }
    ASSERT_TRUE(hearsTheLastWord());
    EXPECT_THAT(heard_, IsEmpty());
}

TEST_F(Hearing, NoBeaconIsLongerThan512Bytes)
{
    listen();
    const std::string name((512 - peer::beacon({.hostName = ""}).size()) / 2, 'n');
    const peer::Bytes longest = peer::beacon({.uuid = {1}, .hostName = name});
    say(longest + peer::Bytes(512 - longest.size(), 'x'));
    say(longest + peer::Bytes(513 - longest.size(), 'x'));
    say(peer::beacon({.uuid = {2}, .hostName = std::string(30000, 'n')}));
    ASSERT_TRUE(hearsTheLastWord());
    ASSERT_EQ(heard_.size(), 1U);
    EXPECT_EQ(heard_[0].substr(0, 2), "01");
}

TEST_F(Hearing, ReadsOnWhenManyHaveSpokenAtOnce)
{
    listen();
    const BeaconSocket mouth(*home_, "10.0.0.1");
    // More than are read in one go; what the system's buffer drops is not ours to hear.
    constexpr int kVoices = 600;
    for (int i = 0; i < kVoices; ++i)
        mouth.send(
            peer::beacon({.uuid = {1, static_cast<std::uint8_t>(i / 256), static_cast<std::uint8_t>(i)}}),
            "10.0.0.1");
    QCoreApplication::processEvents();
    EXPECT_TRUE(until([this] {
        say(peer::beacon({.uuid = peer::kHighestUuid, .message = "DISCOVERER_EXIT_"}));
        return !left_.empty();
    }));
}

TEST_F(Hearing, SharesThePortWithOtherProcesses)
{
    Receiver other;
    testsupport::LogCapture log;
    {
        const NetworkNamespace::Visit visit(*home_);
        other.listen(kPort);
    }
    listen();
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Hearing, PortThatIsTakenIsAWarningAndNoMore)
{
    const BeaconSocket thief(*home_, "0.0.0.0", kPort);
    testsupport::LogCapture log;
    listen();
    EXPECT_THAT(log.texts(), ElementsAre("Receiver failed to bind port: 51337"));
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.discoverer");
}

}  // namespace
