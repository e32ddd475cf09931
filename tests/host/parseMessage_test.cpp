#include "host/parseMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace tunesift::host;
using testing::ElementsAre;
using testing::IsEmpty;

QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }

/// No proper beginning of a message, and no message with a byte too many, is a message.
template <typename Parser>
void expectNoOtherLength(const QByteArray& golden, Parser parse)
{
    for (int size = 0; size < golden.size(); ++size)
        EXPECT_FALSE(parse(golden.left(size))) << size << " of " << golden.size() << " bytes";
    EXPECT_FALSE(parse(golden + '\0')) << "one byte too many";
}

TEST(ParseProgress, IsASingleInLittleEndian)
{
    const QByteArray golden = hex("0000003f");
    ASSERT_TRUE(parseProgress(golden));
    EXPECT_EQ(parseProgress(golden)->share, 0.5F);
    expectNoOtherLength(golden, parseProgress);
}

TEST(ParseProgress, WhatIsNoNumberCountsAsNothingDone)
{
    EXPECT_EQ(parseProgress(hex("0000c07f"))->share, 0.0F);
    EXPECT_EQ(parseProgress(hex("0000c0ff"))->share, 0.0F);
}

TEST(ParseProgress, StaysBetweenNothingAndAll)
{
    EXPECT_EQ(parseProgress(hex("000080bf"))->share, 0.0F);
    EXPECT_EQ(parseProgress(hex("00000040"))->share, 1.0F);
    EXPECT_EQ(parseProgress(hex("0000807f"))->share, 1.0F);
    EXPECT_EQ(parseProgress(hex("000080ff"))->share, 0.0F);
}

// 44100 Hz, 441000 frames, loudness 0.5, key -1.
const char* const kTrackInfo = "40e5888000000000 000000000006baa8 3fe0000000000000 ffffffff";

TEST(ParseTrackInfo, Is28BytesInBigEndian)
{
    const QByteArray golden = hex(kTrackInfo);
    ASSERT_EQ(golden.size(), 28);
    const auto info = parseTrackInfo(golden);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->sampleRate, 44100.0);
    EXPECT_EQ(info->length, 441000);
    EXPECT_EQ(info->loudness, 0.5);
    EXPECT_EQ(info->key, -1);
    expectNoOtherLength(golden, parseTrackInfo);
}

TEST(ParseTrackInfo, RefusesWhatNoTrackCanBe)
{
    EXPECT_TRUE(parseTrackInfo(hex("40e5888000000000 0000000000000000 3fe0000000000000 00000017")));
    EXPECT_FALSE(parseTrackInfo(hex("40e5888000000000 0000000000000000 3fe0000000000000 00000018")))
        << "key 24";
    EXPECT_FALSE(parseTrackInfo(hex("40e5888000000000 0000000000000000 3fe0000000000000 fffffffe")))
        << "key -2";
    EXPECT_FALSE(parseTrackInfo(hex("40e5888000000000 ffffffffffffffff 3fe0000000000000 00000000")))
        << "length -1";
    EXPECT_FALSE(parseTrackInfo(hex("0000000000000000 0000000000000001 3fe0000000000000 00000000")))
        << "rate 0";
    EXPECT_FALSE(parseTrackInfo(hex("7ff8000000000000 0000000000000001 3fe0000000000000 00000000")))
        << "a rate that is no number";
}

// 44100 Hz, 441000 samples, valid; one stored anchor; two anchors with the fillers in use. The anchors lie
// at -88200.0 (beat -4, 24 to the next) and 441000.0 (beat 20).
const char* const kBeatGrid = "40e5888000000000 411aeaa000000000 01"
                              "0000000000000001"
                              "00000000808 8f5c0 fcffffffffffffff 18000000 deadbeef"
                              "0000000000000002"
                              "00000000808 8f5c0 fcffffffffffffff 18000000 00000000"
                              "00000000a0ea1a41 1400000000000000 00000000 ffffffff";

TEST(ParseBeatGrid, HasAHeadInBigEndianAndAnchorsInLittleEndian)
{
    const QByteArray golden = hex(kBeatGrid);
    ASSERT_EQ(golden.size(), 17 + 8 + 24 + 8 + 48);
    const auto grid = parseBeatGrid(golden);
    ASSERT_TRUE(grid);
    EXPECT_EQ(grid->sampleRate, 44100.0);
    EXPECT_EQ(grid->sampleCount, 441000.0);
    EXPECT_TRUE(grid->isValid);
    EXPECT_THAT(grid->storedAnchors, ElementsAre(Anchor{-88200.0, -4, 24}));
    EXPECT_THAT(grid->anchors, ElementsAre(Anchor{-88200.0, -4, 24}, Anchor{441000.0, 20, 0}));
    expectNoOtherLength(golden, parseBeatGrid);
}

TEST(ParseBeatGrid, WithoutAnchorsIs33Bytes)
{
    const QByteArray golden = hex("40e5888000000000 411aeaa000000000 00 0000000000000000 0000000000000000");
    ASSERT_EQ(golden.size(), 33);
    const auto grid = parseBeatGrid(golden);
    ASSERT_TRUE(grid);
    EXPECT_FALSE(grid->isValid);
    EXPECT_THAT(grid->storedAnchors, IsEmpty());
    EXPECT_THAT(grid->anchors, IsEmpty());
}

TEST(ParseBeatGrid, RefusesCountsThatTheBytesDoNotBearOut)
{
    const QByteArray head = hex("40e5888000000000 411aeaa000000000 01");
    for (const char* const count : {"0000000000000001",
                                    "0aaaaaaaaaaaaaab",  // times 24 it overflows to 8
                                    "7fffffffffffffff", "8000000000000000", "ffffffffffffffff"}) {
        EXPECT_FALSE(parseBeatGrid(head + hex(count) + hex("0000000000000000"))) << count << " stored";
        EXPECT_FALSE(parseBeatGrid(head + hex("0000000000000000") + hex(count))) << count;
    }
}

TEST(ParseOverviewWave, HasEntriesOfThreeBytesAndTheirMaximum)
{
    const QByteArray golden = hex("0000000000000002 0000000000000400 407a400000000000 010203 040506 0a0b0c");
    const auto wave = parseOverviewWave(golden);
    ASSERT_TRUE(wave);
    EXPECT_EQ(wave->totalEntries, 1024);
    EXPECT_EQ(wave->framesPerEntry, 420.0);
    EXPECT_THAT(wave->entries, ElementsAre(ElementsAre(1, 2, 3), ElementsAre(4, 5, 6)));
    EXPECT_THAT(wave->maximum, ElementsAre(10, 11, 12));
    expectNoOtherLength(golden, parseOverviewWave);
}

TEST(ParseHighResolutionWave, HasEntriesOfSixBytesAndTheirMaximum)
{
    const QByteArray golden =
        hex("0000000000000001 0000000000000407 407a400000000000 010203040506 0708090a0bff");
    const auto wave = parseHighResolutionWave(golden);
    ASSERT_TRUE(wave);
    EXPECT_EQ(wave->totalEntries, 1031);
    EXPECT_THAT(wave->entries, ElementsAre(ElementsAre(1, 2, 3, 4, 5, 6)));
    EXPECT_THAT(wave->maximum, ElementsAre(7, 8, 9, 10, 11, 255));
    expectNoOtherLength(golden, parseHighResolutionWave);
}

TEST(ParseWaves, RefuseCountsThatTheBytesDoNotBearOut)
{
    for (const char* const count : {"0000000000000001", "5555555555555556", "2aaaaaaaaaaaaaab",
                                    "7fffffffffffffff", "ffffffffffffffff"}) {
        const QByteArray head = hex(count) + hex("0000000000000400 407a400000000000");
        EXPECT_FALSE(parseOverviewWave(head + QByteArray(3, '\0'))) << count;
        EXPECT_FALSE(parseHighResolutionWave(head + QByteArray(6, '\0'))) << count;
    }
}

TEST(ParseFinished, IsADoubleInLittleEndian)
{
    const QByteArray golden = hex("0000000000005f40");
    ASSERT_TRUE(parseFinished(golden));
    EXPECT_EQ(parseFinished(golden)->tempo, 124.0);
    expectNoOtherLength(golden, parseFinished);
}

TEST(ParseMessage, GoesByTheNumber)
{
    EXPECT_TRUE(std::holds_alternative<Progress>(*parseMessage(3, hex("0000003f"))));
    EXPECT_TRUE(std::holds_alternative<BeatGrid>(*parseMessage(4, hex(kBeatGrid))));
    EXPECT_TRUE(std::holds_alternative<TrackInfo>(*parseMessage(5, hex(kTrackInfo))));
    const QByteArray emptyWave = hex("0000000000000000 0000000000000400 407a400000000000");
    EXPECT_TRUE(std::holds_alternative<OverviewWave>(*parseMessage(6, emptyWave + hex("000000"))));
    EXPECT_TRUE(
        std::holds_alternative<HighResolutionWave>(*parseMessage(7, emptyWave + hex("000000000000"))));
    EXPECT_TRUE(std::holds_alternative<Started>(*parseMessage(8, QByteArray())));
    EXPECT_TRUE(std::holds_alternative<Stopped>(*parseMessage(9, QByteArray())));
    EXPECT_TRUE(std::holds_alternative<Finished>(*parseMessage(10, hex("0000000000005f40"))));
    EXPECT_TRUE(std::holds_alternative<Error>(*parseMessage(11, QByteArray())));
}

TEST(ParseMessage, OfTheWrongLengthIsNothing)
{
    for (const quint32 id : {3U, 4U, 5U, 6U, 7U, 10U})
        EXPECT_FALSE(parseMessage(id, QByteArray())) << "message " << id;
}

TEST(ParseMessage, OfAnUnknownNumberIsToldAsSuch)
{
    const auto message = parseMessage(99, QByteArray("anything"));
    ASSERT_TRUE(message);
    ASSERT_TRUE(std::holds_alternative<UnknownMessage>(*message));
    EXPECT_EQ(std::get<UnknownMessage>(*message).id, 99U);
}

TEST(ParseMessage, TheTextOfAnErrorIsUtf8)
{
    EXPECT_EQ(std::get<Error>(*parseMessage(11, hex("c3bc"))).text, QString(QChar(0xFC)));
    EXPECT_TRUE(std::get<Error>(*parseMessage(11, QByteArray())).text.isEmpty());
}

}  // namespace
