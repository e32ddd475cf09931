#include "network/discovery/Discoverer.h"

#include "network/discovery/discoveryPort.h"
#include "network/peer/BeaconSocket.h"
#include "runtime/GarbageCollection.h"
#include "support/LogCapture.h"
#include "support/NamespaceTest.h"
#include "support/TempDir.h"
#include "support/repetitions.h"
#include "support/until.h"

#include <QSettings>

#include <gmock/gmock.h>

#include <memory>
#include <optional>

namespace {

using eboDiscoverer::Discoverer;
using peer::BeaconSocket;
using testsupport::NetworkNamespace;
using testsupport::NetworkSwitch;
using testsupport::until;
using HostRef = ebo::refptr<eboDiscoverer::Host>;

Discoverer::Identity identity()
{
    return {QStringLiteral("Organisation"), QStringLiteral("Application"), QStringLiteral("1.0.0"),
            QStringLiteral("Tunesift")};
}

/// Devices of one process, each with its discovery thread in a namespace of its own.
class Discovery : public testsupport::NamespaceTest {
protected:
    void SetUp() override
    {
        NamespaceTest::SetUp();
        if (IsSkipped())
            return;
        collector_.start();
        net_ = std::make_unique<Net>();
        for (int i = 0; i < 3; ++i)
            net_->wire.plug(net_->places[i], QStringLiteral("eth0"),
                            {QStringLiteral("10.0.0.%1/24").arg(i + 1)});
    }

    [[nodiscard]] const NetworkNamespace& place(int number) const { return net_->places[number]; }

    void start(Discoverer& discoverer, int number, quint16 port = 0) const
    {
        const NetworkNamespace::Visit visit(place(number));
        discoverer.start(port);
    }

    struct Net {
        NetworkSwitch wire;
        NetworkNamespace places[3];
    };

    ebo::GarbageCollection collector_;
    std::unique_ptr<Net> net_;
};

TEST_F(Discovery, TwoDevicesHearOfEachOther)
{
    Discoverer one(identity());
    Discoverer two(identity());
    QList<HostRef> seen;
    QObject::connect(&one, &Discoverer::hostAdded, &one, [&](const HostRef& host) {
        EXPECT_EQ(QThread::currentThread(), one.thread());
        seen.append(host);
    });
    start(one, 0, 1111);
    start(two, 1, 2222);
    ASSERT_TRUE(until([&] { return !seen.isEmpty() && !two.hosts().isEmpty(); }));
    EXPECT_EQ(seen[0]->uuid(), two.uuid());
    EXPECT_EQ(seen[0]->port(), 2222);
    EXPECT_EQ(seen[0]->applicationId(), QStringLiteral("Tunesift"));
    EXPECT_EQ(seen[0]->applicationVersion(), QStringLiteral("1.0.0"));
    EXPECT_EQ(one.hosts(), seen);
    EXPECT_EQ(two.hosts()[0]->uuid(), one.uuid());
    EXPECT_EQ(two.hosts()[0]->port(), 1111);
}

TEST_F(Discovery, OwnBeaconsChangeNothingFromWhateverAddress)
{
    Discoverer device(identity());
    start(device, 0);
    const BeaconSocket mirror(place(1), "10.0.0.2");
    mirror.send(peer::beacon({.uuid = peer::uuidFrom(device.uuid().toString().toStdString())}));
    mirror.send(peer::beacon({.uuid = peer::kHighestUuid}));
    ASSERT_TRUE(until([&] { return !device.hosts().isEmpty(); }));
    EXPECT_EQ(device.hosts().size(), 1) << "the other one";
}

TEST_F(Discovery, NewcomerIsGreetedAtOnce)
{
    Discoverer device(identity());
    const BeaconSocket ear(place(1), "0.0.0.0", peer::kBeaconPort);
    start(device, 0);
    ASSERT_TRUE(ear.next()) << "the greeting of the start";
    const BeaconSocket mouth(place(1), "10.0.0.2");
    const auto next = [&ear] {  // the mouth is heard here as well
        auto heard = ear.next();
        while (heard && heard->from != "10.0.0.1")
            heard = ear.next();
        return heard;
    };
    const auto spoken = std::chrono::system_clock::now();
    mouth.send(peer::beacon({.uuid = {1}}));
    const auto answer = next();
    ASSERT_TRUE(answer);
    EXPECT_LT(answer->when - spoken, std::chrono::milliseconds(800)) << "long before the timer's";
    // Many at once get no more greetings than were saved up, besides the timer's.
    constexpr std::uint8_t kNewcomers = 50;
    for (std::uint8_t i = 2; i <= kNewcomers; ++i)
        mouth.send(peer::beacon({.uuid = {i}}));
    ASSERT_TRUE(until([&] { return device.hosts().size() == kNewcomers; }));
    int greetings = 0;
    while (const auto heard = ear.nextWaiting())
        greetings += heard->from == "10.0.0.1" ? 1 : 0;
    EXPECT_LE(greetings, 32 + 5);
}

TEST_F(Discovery, FarewellRemovesTheHostAtOnce)
{
    Discoverer device(identity());
    QList<HostRef> gone;
    QObject::connect(&device, &Discoverer::hostRemoved, &device,
                     [&](const HostRef& host) { gone.append(host); });
    start(device, 0);
    const BeaconSocket mouth(place(1), "10.0.0.2");
    mouth.send(peer::beacon({.uuid = {5}}));
    ASSERT_TRUE(until([&] { return !device.hosts().isEmpty(); }));
    mouth.send(peer::beacon({.uuid = {5}, .message = "DISCOVERER_EXIT_"}));
    ASSERT_TRUE(until([&] { return !gone.isEmpty(); }));
    EXPECT_FALSE(gone[0]->isActive());
    EXPECT_TRUE(device.hosts().isEmpty());
}

TEST_F(Discovery, IsAtWorkWhenTheStartReturnsAndCanBeStartedAgainAfterAStop)
{
    Discoverer device(identity());
    const BeaconSocket ear(place(1), "0.0.0.0", peer::kBeaconPort);
    for (int i = 0; i < testsupport::repetitions(300); ++i) {
        start(device, 0);
        // The first beacon has left before the start returned, and the ear is a cable away.
        const auto greeting = ear.nextWaiting();
        ASSERT_TRUE(greeting) << i;
        device.stop();
        while (ear.nextWaiting()) {
        }
    }
}

TEST_F(Discovery, FarewellOfAnotherAddressChangesNothing)
{
    Discoverer device(identity());
    start(device, 0);
    const BeaconSocket mouth(place(1), "10.0.0.2");
    const BeaconSocket liar(place(2), "10.0.0.3");
    mouth.send(peer::beacon({.uuid = {5}}));
    ASSERT_TRUE(until([&] { return device.hosts().size() == 1; }));
    liar.send(peer::beacon({.uuid = {5}, .message = "DISCOVERER_EXIT_"}));
    liar.send(peer::beacon({.uuid = {6}}));
    ASSERT_TRUE(until([&] { return device.hosts().size() == 2; }))
        << "all that was said before has been heard";
    mouth.send(peer::beacon({.uuid = {5}, .message = "DISCOVERER_EXIT_"}));
    EXPECT_TRUE(until([&] { return device.hosts().size() == 1; }));
}

TEST_F(Discovery, StopForgetsTheHostsAndCanBeRepeated)
{
    Discoverer device(identity());
    QList<HostRef> gone;
    QObject::connect(&device, &Discoverer::hostRemoved, &device,
                     [&](const HostRef& host) { gone.append(host); });
    device.stop();
    start(device, 0);
    BeaconSocket(place(1), "10.0.0.2").send(peer::beacon({.uuid = {5}}));
    ASSERT_TRUE(until([&] { return !device.hosts().isEmpty(); }));
    device.stop();
    device.stop();
    EXPECT_TRUE(device.hosts().isEmpty());
    ASSERT_TRUE(until([&] { return gone.size() == 1; })) << "the word was still on its way";
}

using DiscoveryDeathTest = Discovery;

TEST_F(DiscoveryDeathTest, SecondStartIsFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Discoverer device(identity());
            start(device, 0);
            start(device, 0);
        },
        "Discoverer started twice!");
}

TEST(DiscovererIdentity, IsNewForEachObject)
{
    const Discoverer one(identity());
    const Discoverer two(identity());
    EXPECT_FALSE(one.uuid().isNull());
    EXPECT_NE(one.uuid(), two.uuid());
    EXPECT_TRUE(two.hosts().isEmpty()) << "before the start";
}

TEST(DiscovererIdentity, LastingOneIsKeptInTheSettings)
{
    const testsupport::TempDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(folder.path()));
    Discoverer::Identity lasting = identity();
    lasting.transientUuid = false;
    QUuid first;
    {
        const Discoverer device(lasting);
        first = device.uuid();
    }
    EXPECT_EQ(Discoverer(lasting).uuid(), first);
    for (const QVariant& spoilt : {QVariant(QStringLiteral("no uuid")), QVariant::fromValue(QUuid())}) {
        QSettings(lasting.organizationName, lasting.applicationName)
            .setValue(QStringLiteral("NetworkUuid"), spoilt);
        const Discoverer device(lasting);
        EXPECT_FALSE(device.uuid().isNull());
        EXPECT_NE(device.uuid(), first);
    }
    EXPECT_NE(Discoverer(identity()).uuid(), first) << "a transient one does not look there";
}

}  // namespace
