#include "network/discovery/HostController.h"

#include "network/discovery/PeerBudget.h"
#include "support/LogCapture.h"
#include "support/until.h"

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace eboDiscoverer;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::until;
using HostRef = ebo::refptr<Host>;

QUuid uuid(int number) { return {static_cast<uint>(number), 0, 0, 0x80, 0, 0, 0, 0, 0, 0, 0}; }
QHostAddress address(int last) { return QHostAddress(QStringLiteral("10.0.0.%1").arg(last)); }

class HostTable : public testing::Test {
protected:
    HostTable()
    {
        QObject::connect(&table_, &HostController::hostAdded, &table_, [this](const HostRef& host) {
            added_.append(host);
            EXPECT_TRUE(host->isActive());
            EXPECT_TRUE(table_.hosts().contains(host)) << "the table is open to the signal's receivers";
        });
        QObject::connect(&table_, &HostController::hostRemoved, &table_, [this](const HostRef& host) {
            removed_.append(host);
            EXPECT_FALSE(host->isActive());
            EXPECT_FALSE(table_.hosts().contains(host));
        });
    }

    bool hear(int number, int from, const char* name = "pult", quint16 port = 1000)
    {
        return table_.addHost(uuid(number), address(from), QString::fromLatin1(name), port,
                              QStringLiteral("App"), QStringLiteral("1.2"));
    }

    QList<HostRef> added_;
    QList<HostRef> removed_;
    HostController table_{QStringLiteral("Organisation"), QStringLiteral("Application"), uuid(77)};
};

TEST_F(HostTable, FirstBeaconMakesAHost)
{
    EXPECT_TRUE(hear(1, 1));
    ASSERT_EQ(added_.size(), 1);
    const HostRef host = added_[0];
    EXPECT_EQ(host->uuid(), uuid(1));
    EXPECT_EQ(host->name(), QStringLiteral("pult"));
    EXPECT_EQ(host->port(), 1000);
    EXPECT_EQ(host->applicationId(), QStringLiteral("App"));
    EXPECT_EQ(host->applicationVersion(), QStringLiteral("1.2"));
    ASSERT_EQ(host->addresses().size(), 1);
    EXPECT_EQ(host->addresses()[0]->address(), address(1));
    EXPECT_EQ(host->addresses()[0]->ping(), -1);
    EXPECT_EQ(table_.hosts(), QList<HostRef>{host});
}

TEST_F(HostTable, IsInTheOrderOfTheUuids)
{
    for (const int number : {5, 1, 3})
        hear(number, number);
    QList<QUuid> order;
    for (const HostRef& host : table_.hosts())
        order.append(host->uuid());
    EXPECT_EQ(order, (QList<QUuid>{uuid(1), uuid(3), uuid(5)}));
}

TEST_F(HostTable, NobodyAndOurselvesAreNoHosts)
{
    EXPECT_FALSE(table_.addHost(QUuid(), address(1), QString(), 1, QString(), QString()));
    EXPECT_FALSE(hear(77, 1));
    EXPECT_FALSE(hear(77, 2)) << "from whatever address";
    EXPECT_FALSE(table_.removeHost(QUuid()));
    EXPECT_THAT(table_.hosts(), IsEmpty());
    EXPECT_THAT(added_, IsEmpty());
}

TEST_F(HostTable, BeaconWithoutAVersionIsLegal)
{
    EXPECT_TRUE(table_.addHost(uuid(1), address(1), QStringLiteral("pult"), 1, QStringLiteral("App")));
    EXPECT_EQ(added_[0]->applicationVersion(), QString());
}

TEST_F(HostTable, LaterBeaconsBringNameAndPortUpToDateAndNothingElse)
{
    hear(1, 1);
    const HostRef host = added_[0];
    int names = 0;
    int ports = 0;
    int beacons = 0;
    int addresses = 0;
    QObject::connect(host.get(), &Host::nameChanged, [&] { ++names; });
    QObject::connect(host.get(), &Host::portChanged, [&] { ++ports; });
    QObject::connect(host.get(), &Host::beacon, [&] { ++beacons; });
    QObject::connect(host.get(), &Host::addressesChanged, [&] { ++addresses; });

    EXPECT_FALSE(hear(1, 1));
    EXPECT_EQ((std::array{names, ports, beacons, addresses}), (std::array{0, 1, 1, 0}));
    EXPECT_FALSE(table_.addHost(uuid(1), address(1), QStringLiteral("other"), 2000, QStringLiteral("X"),
                                QStringLiteral("Y")));
    EXPECT_EQ((std::array{names, ports, beacons, addresses}), (std::array{1, 2, 2, 0}));
    EXPECT_EQ(host->name(), QStringLiteral("other"));
    EXPECT_EQ(host->port(), 2000);
    EXPECT_EQ(host->applicationId(), QStringLiteral("App"));
    EXPECT_EQ(host->applicationVersion(), QStringLiteral("1.2"));
    EXPECT_EQ(added_.size(), 1);
}

TEST_F(HostTable, SecondAddressJoinsTheFirstAndBothFormsOfOneAreOne)
{
    hear(1, 1);
    const HostRef host = added_[0];
    std::vector<std::string> signs;
    QObject::connect(host.get(), &Host::addressesChanged, [&] { signs.emplace_back("addresses"); });
    QObject::connect(host.get(), &Host::beacon, [&] { signs.emplace_back("beacon"); });
    hear(1, 2);
    EXPECT_THAT(signs, ElementsAre("addresses", "beacon"));
    table_.addHost(uuid(1), QHostAddress(QStringLiteral("::ffff:10.0.0.2")), QStringLiteral("pult"), 1,
                   QString(), QString());
    EXPECT_EQ(host->addresses().size(), 2);
    EXPECT_THAT(signs, ElementsAre("addresses", "beacon", "beacon"));
}

TEST_F(HostTable, ForgottenHostIsANewOneWhenItIsHeardAgain)
{
    hear(1, 1);
    EXPECT_TRUE(table_.removeHost(uuid(1)));
    EXPECT_EQ(removed_, added_);
    EXPECT_TRUE(hear(1, 1));
    EXPECT_NE(added_[0].get(), added_[1].get());
}

TEST_F(HostTable, FarewellOfAStrangerIsOnlyADebugLine)
{
    QLoggingCategory::setFilterRules(QStringLiteral("ebo.discoverer.debug=true"));
    testsupport::LogCapture log;
    EXPECT_FALSE(table_.removeHost(uuid(9)));
    QLoggingCategory::setFilterRules(QString());
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_EQ(log.entries()[0].type, QtDebugMsg);
    EXPECT_EQ(log.entries()[0].category, "ebo.discoverer");
    EXPECT_EQ(log.texts()[0], "bool eboDiscoverer::HostController::removeHost(const QUuid&) tried to remove "
                              "unknown host");
}

TEST_F(HostTable, EndOfTheTableRemovesEveryHost)
{
    QList<QUuid> removed;
    {
        HostController table(QString(), QString(), uuid(77));
        table.addHost(uuid(2), address(2), QString(), 1, QString());
        table.addHost(uuid(1), address(1), QString(), 1, QString());
        QObject::connect(&table, &HostController::hostRemoved,
                         [&](const HostRef& host) { removed.append(host->uuid()); });
    }
    EXPECT_EQ(removed, (QList<QUuid>{uuid(1), uuid(2)}));
}

TEST_F(HostTable, EachAddressAgesByItselfAndTheHostLastsAsLongAsOneOfThem)
{
    QElapsedTimer sinceFirst;
    sinceFirst.start();
    hear(1, 1);
    hear(1, 2);
    const HostRef host = added_[0];
    // The second address is heard again and again until the first has gone, then no more.
    QTimer voice;
    QObject::connect(&voice, &QTimer::timeout, [this] { hear(1, 2); });
    voice.start(500);
    ASSERT_TRUE(until([&] { return host->addresses().size() == 1; }));
    voice.stop();
    const qint64 firstLasted = sinceFirst.elapsed();
    EXPECT_EQ(host->addresses()[0]->address(), address(2));
    EXPECT_THAT(removed_, IsEmpty());
    // To the millisecond: the two clocks may differ by one.
    EXPECT_GE(firstLasted, 4999);
    ASSERT_TRUE(until([&] { return removed_ == QList<HostRef>{host}; }));
    EXPECT_GE(sinceFirst.elapsed() - firstLasted, 4499) << "5 s from its last beacon, up to 0.5 s before";
    EXPECT_THAT(table_.hosts(), IsEmpty());
}

TEST_F(HostTable, IsBoundedHoweverManySpeak)
{
    for (int i = 0; i <= PeerBudget::kHostsInAll; ++i)
        hear(1000 + i, 1 + i / PeerBudget::kHosts);
    EXPECT_EQ(table_.hosts().size(), PeerBudget::kHostsInAll);
    HostController table(QString(), QString(), uuid(77));
    for (int i = 0; i <= PeerBudget::kAddressesOfHost; ++i)
        table.addHost(uuid(1), QHostAddress(static_cast<quint32>(0x0a000000 + i)), QString(), 1, QString());
    EXPECT_EQ(table.hosts()[0]->addresses().size(), PeerBudget::kAddressesOfHost);
}

TEST_F(HostTable, LoudAddressHasItsShareAndTheOthersHaveTheRest)
{
    for (int i = 0; i <= PeerBudget::kHosts; ++i)
        hear(1000 + i, 1);
    EXPECT_EQ(table_.hosts().size(), PeerBudget::kHosts);
    EXPECT_TRUE(hear(1, 2));
    EXPECT_FALSE(
        table_.addHost(uuid(2), QHostAddress(QStringLiteral("::ffff:10.0.0.1")), QString(), 1, QString()))
        << "the same address in its other form";
}

TEST_F(HostTable, NewcomerTakesThePlaceOfTheYoungestHostOfTheAddressThatHasMost)
{
    hear(1, 99);
    for (int i = 0; i < PeerBudget::kHostsInAll; ++i)
        hear(1000 + i, 1 + i / PeerBudget::kHosts);
    ASSERT_EQ(table_.hosts().size(), PeerBudget::kHostsInAll);
    removed_.clear();
    EXPECT_TRUE(hear(2, 98));
    EXPECT_EQ(table_.hosts().size(), PeerBudget::kHostsInAll);
    ASSERT_EQ(removed_.size(), 1);
    const int last = removed_[0]->addresses()[0]->address().toIPv4Address() & 0xffU;
    EXPECT_LE(last, 8) << "one of the loud ones";
    const int number = static_cast<int>(removed_[0]->uuid().data1);
    EXPECT_EQ((number - 1000) % PeerBudget::kHosts, PeerBudget::kHosts - 1)
        << "the last that came from there";
    EXPECT_FALSE(hear(90000, 1)) << "no loud one takes a place from the others";
}

TEST_F(HostTable, FarewellCountsFromTheHostsOwnAddressesOnly)
{
    hear(1, 1);
    hear(1, 2);
    EXPECT_FALSE(table_.onFarewell(uuid(1), address(3)));
    EXPECT_THAT(removed_, IsEmpty());
    EXPECT_TRUE(table_.onFarewell(uuid(1), address(2)));
    EXPECT_EQ(removed_, added_);
    EXPECT_FALSE(table_.onFarewell(uuid(1), address(2))) << "it has gone";
}

TEST_F(HostTable, PlaceOfAHostThatSaidGoodbyeStaysTakenForALifespan)
{
    const auto comeAndGo = [this](int number) {
        const bool isNew = hear(number, 1);
        table_.onFarewell(uuid(number), address(1));
        return isNew;
    };
    for (int i = 0; i < PeerBudget::kHosts; ++i)
        ASSERT_TRUE(comeAndGo(1000 + i));
    EXPECT_FALSE(comeAndGo(5000));
    EXPECT_THAT(table_.hosts(), IsEmpty());
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(until([&] { return comeAndGo(5001); }));
    EXPECT_GE(clock.elapsed(), 4900);
}

TEST_F(HostTable, PingOfAnAddressIsToldWhenItIsAnotherOne)
{
    hear(1, 1);
    const HostRef host = added_[0];
    int changes = 0;
    QObject::connect(host.get(), &Host::pingChanged, [&] { ++changes; });
    const auto helper = host->addresses()[0];
    helper->setPing(250);
    helper->setPing(250);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(helper->ping(), 250);
}

}  // namespace
