#include "network/discovery/Beacon.h"

#include "network/peer/wire.h"

#include <gtest/gtest.h>

namespace {

using eboDiscoverer::Beacon;
using eboDiscoverer::beaconFrom;
using eboDiscoverer::toDatagram;

const QUuid kUuid(QStringLiteral("01234567-89ab-cdef-fedc-ba9876543210"));

/// A beacon written by hand.
QByteArray golden()
{
    return QByteArray::fromHex("65626f44"                          // eboD
                               "0123456789abcdeffedcba9876543210"  // uuid, in the order that it is written in
                               "00000006"
                               "004400e4d83d"
                               "00000022"  // DISCOVERER_HOWDY_
                               "0044004900530043004f00560045005200450052005f0048004f005700440059005f"
                               "00000000"  // an empty text
                               "ffffffff"  // no text at all
                               "c935");    // port 51509
}

Beacon sample()
{
    // The last letter is half of a pair, which travels like any other.
    return {kUuid, QString::fromUtf16(u"D\u00e4\xd83d"), Beacon::kHowdy, QStringLiteral(""), QString(),
            51509};
}

TEST(Beacon, IsWrittenAsTheBytesThatAllDevicesAgreeOn) { EXPECT_EQ(toDatagram(sample()), golden()); }

TEST(Beacon, ReadsWhatItWrites)
{
    const auto beacon = beaconFrom(golden());
    ASSERT_TRUE(beacon);
    EXPECT_EQ(beacon->uuid, kUuid);
    EXPECT_EQ(beacon->hostName, sample().hostName);
    EXPECT_EQ(beacon->message, Beacon::kHowdy);
    EXPECT_TRUE(beacon->applicationId.isEmpty());
    EXPECT_FALSE(beacon->applicationId.isNull());
    EXPECT_TRUE(beacon->applicationVersion.isNull());
    EXPECT_EQ(beacon->port, 51509);
}

TEST(Beacon, SaysFarewellInTheOtherWord)
{
    Beacon beacon = sample();
    beacon.message = Beacon::kExit;
    EXPECT_TRUE(toDatagram(beacon).contains(QByteArray::fromStdString(peer::text("DISCOVERER_EXIT_"))));
}

TEST(Beacon, IsNothingWithoutTheMagic)
{
    EXPECT_FALSE(beaconFrom(QByteArray()));
    EXPECT_FALSE(beaconFrom(QByteArray("ebo")));
    for (int i = 0; i < 4; ++i) {
        QByteArray bytes = golden();
        bytes[i] = static_cast<char>(bytes[i] ^ 0x20);
        EXPECT_FALSE(beaconFrom(bytes)) << i;
    }
}

TEST(Beacon, LacksWhatIsCutOff)
{
    const QByteArray whole = golden();
    for (int size = 4; size < whole.size(); ++size) {
        const auto beacon = beaconFrom(whole.left(size));
        ASSERT_TRUE(beacon) << size;
        EXPECT_EQ(beacon->port, 0) << size;
        EXPECT_EQ(beacon->uuid.isNull(), size < 20) << size;
        EXPECT_EQ(beacon->hostName.isEmpty(), size < 30) << size;
        EXPECT_EQ(beacon->message.isEmpty(), size < 68) << size;
    }
}

TEST(Beacon, TextsThatLieAboutTheirSizeAreEmpty)
{
    const QByteArray head = golden().left(20);
    for (const char* const size : {"fffffffe", "7ffffffe", "7fffffff", "80000000", "00000003", "00000100"}) {
        const auto beacon = beaconFrom(head + QByteArray::fromHex(size) + QByteArray("abc"));
        ASSERT_TRUE(beacon) << size;
        EXPECT_TRUE(beacon->hostName.isEmpty()) << size;
        EXPECT_TRUE(beacon->message.isEmpty()) << size;
    }
}

TEST(Beacon, BytesBehindItAreOfNoInterest)
{
    const auto beacon = beaconFrom(golden() + QByteArray(100, 'x'));
    ASSERT_TRUE(beacon);
    EXPECT_EQ(toDatagram(*beacon), golden());
}

}  // namespace
