#include "analysis/BeatGrid.h"

#include "runtime/refptr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

BeatAnchor first(const BeatGrid& grid) { return grid.collection().anchors().front(); }
BeatAnchor last(const BeatGrid& grid) { return grid.collection().anchors().back(); }

TEST(BeatGrid, OffsetZeroPutsTheFirstAnchorOneBarBeforeTheTrack)
{
    const BeatGrid grid(44100, 441000, 0.0, 120.0);
    EXPECT_EQ(first(grid), (BeatAnchor{.samplePosition = -88200.0, .beatNumber = -4, .beatsToNext = 24}));
    EXPECT_EQ(last(grid), (BeatAnchor{.samplePosition = 441000.0, .beatNumber = 20}));
    EXPECT_EQ(grid.collection().storedAnchors(), grid.collection().anchors());
    EXPECT_EQ(grid.sampleRate(), 44100.0);
    EXPECT_EQ(grid.sampleCount(), 441000.0);
    EXPECT_TRUE(grid.isValid());
}

TEST(BeatGrid, BeatZeroFallsOnTheOffset)
{
    const BeatGrid grid(44100, 441000, 5000.0, 120.0);
    EXPECT_EQ(first(grid), (BeatAnchor{.samplePosition = -83200.0, .beatNumber = -4, .beatsToNext = 24}));
    EXPECT_EQ(last(grid), (BeatAnchor{.samplePosition = 446000.0, .beatNumber = 20}));
    EXPECT_EQ(grid.collection().samplePositionForBeat(0.0), 5000.0);
}

TEST(BeatGrid, AnOffsetOfWholeBarsIsLikeOffsetZero)
{
    const BeatGrid zero(44100, 441000, 0.0, 120.0);
    const BeatGrid bars(44100, 441000, 2 * 88200.0, 120.0);
    EXPECT_EQ(bars.collection().anchors(), zero.collection().anchors());
    EXPECT_EQ(first(bars).samplePosition, -88200.0);
}

TEST(BeatGrid, AnOffsetAtOrBeyondTheEndIsIgnored)
{
    for (const double offset : {441000.0, 500000.0, std::numeric_limits<double>::infinity()}) {
        const BeatGrid grid(44100, 441000, offset, 120.0);
        EXPECT_EQ(grid.collection().samplePositionForBeat(0.0), 1.0) << "offset " << offset;
    }
}

TEST(BeatGrid, ADownbeatAtOrBehindTheEndIsIgnored)
{
    // The offset of -40000 means downbeats at 48200, 136400 and so on; the track is shorter than the first.
    const BeatGrid ignored(44100, 48200, -40000.0, 120.0);
    EXPECT_EQ(ignored.collection().samplePositionForBeat(0.0), 1.0);
    const BeatGrid taken(44100, 48201, -40000.0, 120.0);
    EXPECT_EQ(taken.collection().samplePositionForBeat(0.0), 48200.0);
}

TEST(BeatGrid, AnOffsetThatIsNoNumberIsIgnored)
{
    const BeatGrid grid(44100, 441000, std::numeric_limits<double>::quiet_NaN(), 120.0);
    EXPECT_EQ(grid.collection().samplePositionForBeat(0.0), 1.0);
}

TEST(BeatGrid, TheLastAnchorIsTheFirstBeatAtOrBehindTheEnd)
{
    std::minstd_rand random(7);
    for (int i = 0; i < 2000; ++i) {
        const double sampleRate = std::uniform_real_distribution(8000.0, 96000.0)(random);
        const double sampleCount = std::floor(std::uniform_real_distribution(100.0, 2e7)(random));
        const double offset = std::uniform_real_distribution(0.0, 200000.0)(random);
        const double bpm = std::uniform_real_distribution(40.0, 240.0)(random);
        SCOPED_TRACE(testing::Message() << sampleRate << " Hz, " << sampleCount << " samples, " << bpm
                                        << " BPM, offset " << offset);
        const BeatGrid grid(sampleRate, sampleCount, offset, bpm);
        const double beatLength = 60.0 / bpm * sampleRate;
        EXPECT_GE(last(grid).samplePosition, sampleCount - 1e-6);
        EXPECT_LT(last(grid).samplePosition, sampleCount + beatLength + 1e-6);
        EXPECT_LT(first(grid).samplePosition, 0.0);
        EXPECT_EQ(first(grid).beatNumber, -4);
        EXPECT_EQ(last(grid).beatNumber, first(grid).beatNumber + first(grid).beatsToNext);
        EXPECT_NEAR((last(grid).samplePosition - first(grid).samplePosition) / first(grid).beatsToNext,
                    beatLength, 1e-6 * beatLength);
    }
}

TEST(BeatGrid, SenselessNumbersGiveSomeGrid)
{
    using Limits = std::numeric_limits<double>;
    for (const double bpm : {0.0, -1.0, 1e300, 1e-300, Limits::infinity(), Limits::quiet_NaN()}) {
        for (const double offset : {0.0, 1e300, -1e300, Limits::infinity()}) {
            for (const double sampleCount : {0.0, 1.0, 2147483647.0}) {
                const BeatGrid grid(44100, sampleCount, offset, bpm);
                EXPECT_EQ(grid.collection().anchors().size(), 2U);
            }
        }
    }
}

}  // namespace
