#include "analysis/BeatAnchorCollection.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>

namespace {

TEST(BeatAnchor, LiesInMemoryAsTheHostReadsIt)
{
    const BeatAnchor anchor{.samplePosition = 1.0, .beatNumber = -4, .beatsToNext = 24};
    const auto bytes = std::bit_cast<std::array<std::uint8_t, 24>>(anchor);
    const std::array<std::uint8_t, 24> expected{0,    0,    0,    0,    0,    0,    0xF0, 0x3F,  // 1.0
                                                0xFC, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,  // -4
                                                24,   0,    0,    0,    0,    0,    0,    0};
    EXPECT_EQ(bytes, expected);
}

TEST(BeatAnchorCollection, StartsWithFourBeatsBeforeSampleOne)
{
    const BeatAnchorCollection collection;
    ASSERT_EQ(collection.anchors().size(), 2U);
    EXPECT_EQ(collection.anchors()[0],
              (BeatAnchor{.samplePosition = -1.0, .beatNumber = -4, .beatsToNext = 4}));
    EXPECT_EQ(collection.anchors()[1],
              (BeatAnchor{.samplePosition = 1.0, .beatNumber = 0, .beatsToNext = 0}));
    EXPECT_EQ(collection.storedAnchors(), collection.anchors());
}

TEST(BeatAnchorCollection, BeatsOutsideTheAnchorsBelongToTheOutermostSegment)
{
    const BeatAnchorCollection collection;
    for (const double beat : {-100.0, -4.0, -1.0, 0.0, 100.0})
        EXPECT_EQ(collection.getAnchorIteratorBeforeBeatPosition(beat), collection.anchors().begin())
            << "beat " << beat;
}

TEST(BeatAnchorCollection, BeatsAreEvenlySpacedAlsoBeyondTheAnchors)
{
    BeatAnchorCollection collection;
    collection.setOnlySegment(100.0, 50.0, 8.0);  // beat -4 at 100, beat 4 at 500
    EXPECT_EQ(collection.samplePositionForBeat(-4.0), 100.0);
    EXPECT_EQ(collection.samplePositionForBeat(0.5), 325.0);
    EXPECT_EQ(collection.samplePositionForBeat(4.0), 500.0);
    EXPECT_EQ(collection.samplePositionForBeat(-6.0), 0.0);
    EXPECT_EQ(collection.samplePositionForBeat(10.0), 800.0);
}

TEST(BeatAnchorCollection, TheEndMovesInWholeBeatsToTheFirstBeatAtOrBehindAPosition)
{
    BeatAnchorCollection collection;
    collection.setOnlySegment(0.0, 100.0, 8.0);

    collection.setEndPosition(450.0);
    EXPECT_EQ(collection.anchors()[1], (BeatAnchor{.samplePosition = 500.0, .beatNumber = 1}));
    EXPECT_EQ(collection.anchors()[0].beatsToNext, 5U);

    collection.setEndPosition(1200.0);
    EXPECT_EQ(collection.anchors()[1], (BeatAnchor{.samplePosition = 1200.0, .beatNumber = 8}));
    EXPECT_EQ(collection.anchors()[0].beatsToNext, 12U);

    collection.setEndPosition(1200.5);
    EXPECT_EQ(collection.anchors()[1], (BeatAnchor{.samplePosition = 1300.0, .beatNumber = 9}));
    EXPECT_EQ(collection.anchors()[0].beatsToNext, 13U);
}

TEST(BeatAnchorCollection, TheFirstAnchorMovesInFrontOfTheTrackAndNoBeatMoves)
{
    BeatAnchorCollection collection;
    collection.setOnlySegment(950.0, 100.0, 10.0);  // beat -4 at 950, the bars at 550, 150, -250
    const double beatFive = collection.samplePositionForBeat(5.0);
    collection.moveFirstAnchorBeforeTrack();
    EXPECT_EQ(collection.anchors()[0],
              (BeatAnchor{.samplePosition = -250.0, .beatNumber = -4, .beatsToNext = 22}));
    EXPECT_EQ(collection.anchors()[1], (BeatAnchor{.samplePosition = 1950.0, .beatNumber = 18}));
    EXPECT_EQ(collection.samplePositionForBeat(5.0 + 12.0), beatFive);
}

TEST(BeatAnchorCollection, TheStoredAnchorsAreThoseOfTheLastStoring)
{
    BeatAnchorCollection collection;
    const auto before = collection.anchors();
    collection.setOnlySegment(0.0, 100.0, 8.0);
    EXPECT_EQ(collection.storedAnchors(), before);
    collection.storeAnchors();
    EXPECT_EQ(collection.storedAnchors(), collection.anchors());
}

}  // namespace
