#include "network/discovery/Sender.h"

#include "network/peer/BeaconSocket.h"
#include "support/LogCapture.h"
#include "support/NamespaceTest.h"
#include "support/until.h"

#include <QHostInfo>
#include <QNetworkConfigurationManager>

#include <gmock/gmock.h>

#include <optional>
#include <thread>

// Qt calls its watch over networks deprecated.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using eboDiscoverer::Sender;
using peer::BeaconSocket;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::NetworkNamespace;
using testsupport::NetworkSwitch;
using testsupport::until;

constexpr quint16 kPort = 51337;
const QUuid kUuid(QStringLiteral("01234567-89ab-cdef-fedc-ba9876543210"));

/// A sender at home, and an ear on the same wire. The sender makes its sockets anew each time, so its calls
/// are visits to its home.
class Speaking : public testsupport::NamespaceTest {
protected:
    void SetUp() override
    {
        NamespaceTest::SetUp();
        if (IsSkipped())
            return;
        net_.emplace();
    }

    void plugHome(const QStringList& addresses)
    {
        net_->wire.plug(net_->home, QStringLiteral("eth0"), addresses);
        net_->wire.plug(net_->elsewhere, QStringLiteral("eth0"), {QStringLiteral("10.0.0.99/24")});
        ear_.emplace(net_->elsewhere, "0.0.0.0", kPort);
    }

    [[nodiscard]] const NetworkNamespace& home() const { return net_->home; }

    static peer::Bytes expected(const char* word, std::uint16_t port)
    {
        return peer::beacon({.uuid = peer::uuidFrom("0123456789abcdeffedcba9876543210"),
                             .hostName = QHostInfo::localHostName().toStdString(),
                             .message = word,
                             .application = "Tunesift",
                             .version = "1.0.0",
                             .port = port});
    }

    struct Net {
        NetworkSwitch wire;
        NetworkNamespace home;
        NetworkNamespace elsewhere;
    };

    std::optional<Net> net_;
    std::optional<BeaconSocket> ear_;
    Sender sender_{kPort, kUuid, QStringLiteral("Tunesift"), QStringLiteral("1.0.0")};
};

TEST_F(Speaking, SendsOneBeaconFromEachAddressAndCountsTheBytes)
{
    plugHome({QStringLiteral("10.0.0.1/24"), QStringLiteral("10.0.0.2/24")});
    sender_.setDirectoryPort(4321);
    const NetworkNamespace::Visit visit(home());
    const peer::Bytes bytes = expected("DISCOVERER_HOWDY_", 4321);
    EXPECT_EQ(sender_.sendGreeting(), static_cast<qint64>(2 * bytes.size()));
    for (const char* const address : {"10.0.0.1", "10.0.0.2"}) {
        const auto heard = ear_->next();
        ASSERT_TRUE(heard);
        EXPECT_EQ(heard->from, address);
        EXPECT_EQ(heard->bytes, bytes);
    }
}

TEST_F(Speaking, SaysFarewellAndNothingMoreWhenItStops)
{
    plugHome({QStringLiteral("10.0.0.1/24")});
    const NetworkNamespace::Visit visit(home());
    sender_.start();
    sender_.stop();
    const auto first = ear_->next();
    const auto second = ear_->next();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->bytes, expected("DISCOVERER_HOWDY_", 0)) << "without a directory server the port is 0";
    EXPECT_EQ(second->bytes, expected("DISCOVERER_EXIT_", 0));
    EXPECT_FALSE(sender_.findChild<QTimer*>() != nullptr && sender_.findChild<QTimer*>()->isActive());
}

TEST_F(Speaking, GoesOnEverySecondWhateverElseIsSent)
{
    plugHome({QStringLiteral("10.0.0.1/24")});
    const NetworkNamespace::Visit visit(home());
    sender_.start();
    sender_.sendGreeting();
    sender_.configurationChanged();
    std::vector<BeaconSocket::Heard> heard;
    for (int i = 0; i < 3; ++i) {
        const auto next = ear_->nextWaiting();
        ASSERT_TRUE(next) << "three at once";
        heard.push_back(*next);
    }
    // By the kernel's clock, each of the next seconds has its beacon: it may come late, never early, and
    // being late does not add up. The system's own news of its networks may be greeted in between.
    const auto start = heard.front().when;
    for (int second = 1; second <= 4; ++second) {
        const auto due = start + std::chrono::milliseconds(1000 * second - 10);
        ASSERT_TRUE(until([&] {
            while (auto next = ear_->nextWaiting())
                heard.push_back(*next);
            return heard.back().when >= due;
        }));
        const auto tick =
            std::find_if(heard.begin(), heard.end(), [&](const auto& one) { return one.when >= due; });
        EXPECT_LT(tick->when - due, std::chrono::milliseconds(900)) << "second " << second;
    }
    constexpr std::size_t kNews = 10;
    EXPECT_LE(heard.size(), 3 + 4 + kNews) << "no more often";
}

TEST_F(Speaking, NewcomersAreAnsweredOnceASecondInTheLongRunHoweverManyCome)
{
    plugHome({QStringLiteral("10.0.0.1/24"), QStringLiteral("10.0.0.2/24")});
    const NetworkNamespace::Visit visit(home());
    for (int i = 0; i < 100; ++i)
        sender_.answerNewcomer();
    for (int i = 0; i < Sender::kMostAnswersSaved; ++i)
        ASSERT_TRUE(ear_->nextWaiting() && ear_->nextWaiting()) << "from each address, answer " << i;
    EXPECT_FALSE(ear_->nextWaiting()) << "what was saved up is used up";
    std::this_thread::sleep_for(std::chrono::milliseconds(1010));  // the sender looks at the clock
    for (int i = 0; i < 100; ++i)
        sender_.answerNewcomer();
    ASSERT_TRUE(ear_->nextWaiting() && ear_->nextWaiting());
    EXPECT_FALSE(ear_->nextWaiting()) << "one has been earned since";
}

TEST_F(Speaking, EveryChangeOfTheNetworksIsGreeted)
{
    plugHome({QStringLiteral("10.0.0.1/24")});
    const NetworkNamespace::Visit visit(home());
    auto* const manager = sender_.findChild<QNetworkConfigurationManager*>();
    ASSERT_NE(manager, nullptr);
    for (const auto change : {&QNetworkConfigurationManager::configurationAdded,
                              &QNetworkConfigurationManager::configurationChanged,
                              &QNetworkConfigurationManager::configurationRemoved}) {
        while (ear_->nextWaiting()) {
        }
        Q_EMIT(manager->*change)(QNetworkConfiguration());
        EXPECT_TRUE(ear_->nextWaiting());
    }
}

TEST_F(Speaking, BeaconAboveTheLimitIsNotSentAndNotMentioned)
{
    plugHome({QStringLiteral("10.0.0.1/24")});
    const NetworkNamespace::Visit visit(home());
    const int room = 512 - static_cast<int>(expected("DISCOVERER_HOWDY_", 0).size()) +
                     2 * static_cast<int>(std::string("Tunesift").size());
    ASSERT_EQ(room % 2, 0);
    testsupport::LogCapture log;
    Sender fitting(kPort, kUuid, QString(room / 2, QLatin1Char('x')), QStringLiteral("1.0.0"));
    EXPECT_EQ(fitting.sendGreeting(), 512);
    Sender tooLong(kPort, kUuid, QString(room / 2 + 1, QLatin1Char('x')), QStringLiteral("1.0.0"));
    EXPECT_EQ(tooLong.sendGreeting(), 0);
    EXPECT_THAT(log.texts(), IsEmpty());
    ASSERT_TRUE(ear_->next());
    EXPECT_FALSE(ear_->nextWaiting());
}

TEST_F(Speaking, MachineWithLoopbackAloneSendsNothing)
{
    testsupport::LogCapture log;
    const NetworkNamespace::Visit visit(home());
    EXPECT_EQ(sender_.sendGreeting(), 0);
    EXPECT_EQ(sender_.sendFarewell(), 0);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(Speaking, AddressThatCannotBeUsedYetIsAWarningAndTheOthersSpeak)
{
    plugHome({QStringLiteral("10.0.0.1/24")});
    // Without a link, the check for duplicates never ends, and until then the address cannot be bound.
    home().run(QStringLiteral("ip link add lonely type veth peer name peer"));
    home().run(QStringLiteral("ip link set lonely up"));
    home().run(QStringLiteral("ip addr add fd00::1/64 dev lonely"));
    testsupport::LogCapture log;
    const NetworkNamespace::Visit visit(home());
    EXPECT_EQ(sender_.sendGreeting(), static_cast<qint64>(expected("DISCOVERER_HOWDY_", 0).size()));
    ASSERT_FALSE(log.texts().empty());
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.discoverer");
    EXPECT_THAT(log.texts(),
                testing::Contains(AllOf(HasSubstr("Sender was unable to bind any port"),
                                        HasSubstr("SocketAddressNotAvailableError"), HasSubstr("fd00::1"))));
}

TEST_F(Speaking, GreetingThatComesLateIsAWarning)
{
    const NetworkNamespace::Visit visit(home());
    testsupport::LogCapture log;
    sender_.sendGreeting();
    sender_.sendGreeting();
    EXPECT_THAT(log.texts(), IsEmpty());
    std::this_thread::sleep_for(std::chrono::milliseconds(2050));  // what is late is told by the clock
    sender_.sendGreeting();
    ASSERT_EQ(log.texts().size(), 1U);
    EXPECT_THAT(log.texts()[0], testing::MatchesRegex("Late Greeting: [0-9]+"));
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
}

}  // namespace
