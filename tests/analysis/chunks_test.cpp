#include "analysis/AnalysisPreferences.h"
#include "analysis/BeatDataChunk.h"
#include "analysis/BeatGrid.h"
#include "analysis/TrackDataChunk.h"
#include "analysis/WaveChunk.h"

#include <gtest/gtest.h>

namespace {

TEST(AnalysisPreferences, HasItsDefaults)
{
    const AnalysisPreferences preferences;
    EXPECT_EQ(preferences.minimumBpm, 58);
    EXPECT_EQ(preferences.maximumBpm, 195);
    EXPECT_TRUE(preferences.detectKey);
    EXPECT_TRUE(preferences.flagB);
    EXPECT_TRUE(preferences.flagC);
}

TEST(AnalysisPreferences, AreReadFromTwelveLittleEndianBytes)
{
    const auto preferences =
        AnalysisPreferences::fromPayload(QByteArray::fromHex("4600000000010000000700ff") + "/path");
    EXPECT_EQ(preferences.minimumBpm, 70);
    EXPECT_EQ(preferences.maximumBpm, 256);
    EXPECT_FALSE(preferences.detectKey);
    EXPECT_TRUE(preferences.flagB) << "any byte but 0 is true";
    EXPECT_FALSE(preferences.flagC);
}

TEST(AnalysisPreferences, MissingBytesHaveTheirDefault)
{
    const QByteArray whole = QByteArray::fromHex("460000000001000000000000");
    EXPECT_EQ(AnalysisPreferences::fromPayload({}), AnalysisPreferences{});
    EXPECT_EQ(AnalysisPreferences::fromPayload(whole.left(4)), (AnalysisPreferences{.minimumBpm = 70}));
    // The first byte of 0x00000100 in the place of the first byte of 195.
    EXPECT_EQ(AnalysisPreferences::fromPayload(whole.left(5)),
              (AnalysisPreferences{.minimumBpm = 70, .maximumBpm = 0}));
    EXPECT_EQ(AnalysisPreferences::fromPayload(whole.left(9)),
              (AnalysisPreferences{.minimumBpm = 70, .maximumBpm = 256, .detectKey = false}));
    EXPECT_EQ(AnalysisPreferences::fromPayload(QByteArray::fromHex("ffff")).minimumBpm, 65535);
}

TEST(TrackDataChunk, IsTwentyEightBytesBigEndian)
{
    EXPECT_EQ(TrackDataChunk(48000.0, 0x0102030405, 0.25f, 23).serialize().toHex(),
              QByteArray("40e7700000000000"  // 48000.0
                         "0000000102030405"
                         "3fd0000000000000"  // 0.25 as a double
                         "00000017"));
}

TEST(TrackDataChunk, StartsWithAMiddlingLoudnessAndNoKey)
{
    EXPECT_EQ(TrackDataChunk(44100.0, 1).serialize().toHex(), QByteArray("40e5888000000000"
                                                                         "0000000000000001"
                                                                         "3fe0000000000000"
                                                                         "ffffffff"));
}

TEST(BeatDataChunk, HasTheGridAndItsAnchorsTwice)
{
    // At 44100 Hz and 120 BPM a beat is 22050 frames: from -88200, beat -4, 24 beats to 441000, beat 20.
    const QByteArray anchors = "0000000000000002"  // two anchors
                               "000000008088f5c0"  // -88200.0, little-endian
                               "fcffffffffffffff"  // -4
                               "18000000"          // 24
                               "00000000"
                               "00000000a0ea1a41"  // 441000.0
                               "1400000000000000"  // 20
                               "00000000"
                               "00000000";
    const BeatGrid grid(44100.0, 441000.0, 0.0, 120.0);
    EXPECT_EQ(beatDataChunk(grid).toHex(), "40e5888000000000"  // 44100.0
                                           "411aeaa000000000"  // 441000.0
                                           "01" +
                                               anchors + anchors);
}

TEST(WaveChunk, OfAnOverviewHasThreeBytesAnEntry)
{
    EXPECT_EQ(waveChunk<3>({{1, 2, 3}, {4, 5, 6}}, 1024, 420.0, {9, 8, 7}).toHex(),
              QByteArray("0000000000000002"
                         "0000000000000400"
                         "407a400000000000"  // 420.0
                         "010203040506"
                         "090807"));
}

TEST(WaveChunk, OfTheHighResolutionWaveHasSixBytesAnEntry)
{
    EXPECT_EQ(waveChunk<6>({{1, 2, 3, 4, 5, 255}}, 1025, 0.5, {9, 8, 7, 6, 5, 255}).toHex(),
              QByteArray("0000000000000001"
                         "0000000000000401"
                         "3fe0000000000000"
                         "0102030405ff"
                         "0908070605ff"));
}

TEST(WaveChunk, WithoutNewEntriesIsEmpty) { EXPECT_TRUE(waveChunk<3>({}, 1024, 420.0, {9, 8, 7}).isEmpty()); }

}  // namespace
