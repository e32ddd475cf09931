#include "host/gridBeats.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace tunesift::host;

BeatGrid gridOf(std::vector<Anchor> anchors)
{
    BeatGrid grid;
    grid.isValid = true;
    grid.anchors = std::move(anchors);
    return grid;
}

// Ten seconds at 44100 Hz and 120 beats per minute: a beat each 22050 frames.
const BeatGrid kTenSeconds = gridOf({{-88200.0, -4, 24}, {441000.0, 20, 0}});

TEST(GridBeats, TheDownbeatOfAPlainGridIsAtTheStart)
{
    EXPECT_EQ(beatPosition(kTenSeconds, 0), 0.0);
    EXPECT_EQ(beatPosition(kTenSeconds, 1), 22050.0);
}

TEST(GridBeats, ABeatAtTheEndOfTheTrackIsNotInside)
{
    // Beats 0 to 19; beat 20 falls on frame 441000, the first behind the track.
    EXPECT_EQ(countBeatsInside(kTenSeconds, 441000.0), 20);
    EXPECT_EQ(countBeatsInside(kTenSeconds, 441001.0), 21);
}

TEST(GridBeats, ABeatBeforeTheStartIsNotInside)
{
    // Shifted by 5000 frames, beat 0 falls on 5000, and beat 19 on 423950.
    const BeatGrid shifted = gridOf({{-83200.0, -4, 24}, {446000.0, 20, 0}});
    EXPECT_EQ(beatPosition(shifted, 0), 5000.0);
    EXPECT_EQ(countBeatsInside(shifted, 441000.0), 20);
    // Shifted by -1 frame, beat 0 falls out in front, and beat 20 in behind.
    const BeatGrid early = gridOf({{-88201.0, -4, 24}, {440999.0, 20, 0}});
    EXPECT_EQ(countBeatsInside(early, 441000.0), 20);
    EXPECT_EQ(countBeatsInside(early, 440999.0), 19);
}

TEST(GridBeats, AnEmptyTrackHasNone) { EXPECT_EQ(countBeatsInside(kTenSeconds, 0.0), 0); }

TEST(GridBeats, SegmentsHaveTheirOwnTempo)
{
    // 4 beats of 100 frames, then 2 beats of 200.
    const BeatGrid grid = gridOf({{0.0, 0, 4}, {400.0, 4, 2}, {800.0, 6, 0}});
    EXPECT_EQ(beatPosition(grid, 3), 300.0);
    EXPECT_EQ(beatPosition(grid, 4), 400.0);
    EXPECT_EQ(beatPosition(grid, 5), 600.0);
    EXPECT_EQ(countBeatsInside(grid, 601.0), 6);
    EXPECT_EQ(countBeatsInside(grid, 1000.0), 7);
}

TEST(GridBeats, OutsideTheAnchorsTheNearestSegmentGoesOn)
{
    const BeatGrid grid = gridOf({{0.0, 8, 4}, {400.0, 12, 2}, {800.0, 14, 0}});
    EXPECT_EQ(beatPosition(grid, 0), -800.0);
    EXPECT_EQ(beatPosition(grid, 15), 1000.0);
}

TEST(GridBeats, ABeatBeyondAllNumbersHasNoPlace)
{
    const BeatGrid grid = gridOf({{0.0, 1000, 4}, {1.6e308, 1004, 0}});
    EXPECT_TRUE(isUsable(grid));
    EXPECT_FALSE(beatPosition(grid, 0));
}

TEST(GridBeats, BillionsOfBeatsAreCountedWithoutWalkingThem)
{
    const BeatGrid grid = gridOf({{0.0, 0, 4000000000U}, {4000000000.0, 4000000000LL, 0}});
    EXPECT_EQ(countBeatsInside(grid, 3000000000.5), 3000000001LL);
}

TEST(GridBeats, BetweenTwoPositionsHaveTheirNumbersAndPlaces)
{
    const BeatGrid grid = gridOf({{0.0, 0, 4}, {400.0, 4, 2}, {800.0, 6, 0}});
    const auto numbers = [&](double from, double to) {
        std::vector<qint64> found;
        for (const Beat& beat : beatsBetween(grid, from, to)) {
            EXPECT_EQ(beat.position, beatPosition(grid, beat.number)) << beat.number;
            found.push_back(beat.number);
        }
        return found;
    };
    EXPECT_EQ(numbers(-1000.0, 10000.0), (std::vector<qint64>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(numbers(100.0, 600.0), (std::vector<qint64>{1, 2, 3, 4})) << "the end is not in it";
    EXPECT_EQ(numbers(100.5, 600.5), (std::vector<qint64>{2, 3, 4, 5}));
    EXPECT_EQ(numbers(900.0, 1000.0), (std::vector<qint64>{}));
    EXPECT_TRUE(beatsBetween(BeatGrid{}, 0.0, 1000.0).empty());
    const BeatGrid endless = gridOf({{0.0, 0, 4000000000U}, {4000000000.0, 4000000000LL, 0}});
    EXPECT_EQ(beatsBetween(endless, 0.0, 4e9).size(), 1000000U);
}

TEST(GridBeats, AGridThatCannotBeReckonedWithHasNoBeats)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    constexpr qint64 kLowest = std::numeric_limits<qint64>::min();
    BeatGrid invalid = kTenSeconds;
    invalid.isValid = false;
    for (const BeatGrid& grid :
         {invalid, gridOf({}), gridOf({{0.0, 0, 4}}), gridOf({{0.0, 0, 0}, {400.0, 0, 0}}),
          gridOf({{0.0, 0, 4}, {400.0, 5, 0}}), gridOf({{400.0, 0, 4}, {0.0, 4, 0}}),
          gridOf({{0.0, 0, 4}, {0.0, 4, 0}}), gridOf({{0.0, 0, 4}, {kInfinity, 4, 0}}),
          gridOf({{-kInfinity, 0, 4}, {0.0, 4, 0}}), gridOf({{kNoNumber, 0, 4}, {0.0, 4, 0}}),
          gridOf({{-1.7e308, 0, 4}, {1.7e308, 4, 0}}), gridOf({{0.0, 0, 4}, {400.0, kLowest, 0}})}) {
        EXPECT_FALSE(isUsable(grid));
        EXPECT_FALSE(beatPosition(grid, 0));
        EXPECT_FALSE(countBeatsInside(grid, 441000.0));
    }
}

}  // namespace
