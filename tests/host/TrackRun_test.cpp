#include "host/TrackRun.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace tunesift::host;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

const TrackInfo kFirstInfo{44100.0, 441000, 0.5, -1};
const TrackInfo kFinalInfo{44100.0, 441000, 0.25, 1};

BeatGrid gridFrom(double firstAnchor)
{
    BeatGrid grid;
    grid.isValid = true;
    grid.anchors = {{firstAnchor, -4, 24}, {firstAnchor + 24 * 22050.0, 20, 0}};
    return grid;
}

TrackResult resultOf(const std::vector<Message>& messages)
{
    TrackRun run({QStringLiteral("/music/a.wav"), {}});
    for (const Message& message : messages)
        run.take(message);
    return run.result({});
}

TEST(TrackRun, AGoodRunGivesEveryResult)
{
    const TrackResult result = resultOf({Started{}, kFirstInfo, gridFrom(-88199.0), Progress{0.0F},
                                         gridFrom(-83200.0), Progress{0.96F}, kFinalInfo, Finished{120.0}});
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.path, QStringLiteral("/music/a.wav"));
    EXPECT_EQ(result.sampleRate, 44100.0);
    EXPECT_EQ(result.frames, 441000);
    EXPECT_EQ(result.seconds, 10.0);
    EXPECT_EQ(result.tempo, 120.0);
    EXPECT_EQ(result.firstDownbeat, 5000.0 / 44100.0);
    EXPECT_EQ(result.beats, 20);
    EXPECT_EQ(result.loudness, 0.25);
    EXPECT_EQ(result.key, 1);
}

TEST(TrackRun, WhatStandsBeforeTheStartBelongsToAnEarlierRun)
{
    TrackRun run({});
    EXPECT_FALSE(run.take(Finished{99.0}));
    EXPECT_FALSE(run.take(Error{}));
    EXPECT_FALSE(run.take(kFinalInfo));
    EXPECT_FALSE(run.hasStarted());
    EXPECT_FALSE(run.isOver());
    EXPECT_TRUE(run.take(Started{}));
    EXPECT_TRUE(run.hasStarted());
    EXPECT_FALSE(run.result({}).frames);
}

TEST(TrackRun, WhatStandsBehindTheEndDoesNotCount)
{
    TrackRun run({});
    run.take(Started{});
    EXPECT_TRUE(run.take(Finished{120.0}));
    EXPECT_TRUE(run.isOver());
    EXPECT_FALSE(run.take(Finished{60.0}));
    EXPECT_FALSE(run.take(Error{}));
    EXPECT_EQ(run.result({}).tempo, 120.0);
}

TEST(TrackRun, ThePlaceholdersOfTheFirstInfoAreNoResults)
{
    const TrackResult result = resultOf({Started{}, TrackInfo{8000.0, 4000, 0.5, 3}, Finished{120.0}});
    EXPECT_EQ(result.seconds, 0.5);
    EXPECT_FALSE(result.loudness);
    EXPECT_FALSE(result.key);
}

TEST(TrackRun, NoKeyIsNoResult)
{
    EXPECT_FALSE(
        resultOf({Started{}, kFirstInfo, TrackInfo{44100.0, 441000, 0.25, -1}, Finished{120.0}}).key);
}

TEST(TrackRun, WhatIsNoNumberIsNoResult)
{
    const TrackResult result =
        resultOf({Started{}, kFirstInfo, TrackInfo{44100.0, 441000, kNoNumber, 1}, Finished{kNoNumber}});
    EXPECT_TRUE(result.succeeded());
    EXPECT_FALSE(result.tempo);
    EXPECT_FALSE(result.loudness);
    EXPECT_EQ(result.key, 1);
}

TEST(TrackRun, ALengthBeyondAllNumbersIsNoResult)
{
    constexpr qint64 kLongest = std::numeric_limits<qint64>::max();
    const TrackResult result = resultOf({Started{}, TrackInfo{1e-300, kLongest, 0.5, -1}, Finished{120.0}});
    EXPECT_EQ(result.frames, kLongest);
    EXPECT_FALSE(result.seconds);
}

TEST(TrackRun, WithoutAGridThereAreNoBeats)
{
    const TrackResult result = resultOf({Started{}, kFirstInfo, kFinalInfo, Finished{120.0}});
    EXPECT_FALSE(result.firstDownbeat);
    EXPECT_FALSE(result.beats);
}

TEST(TrackRun, AFailureKeepsTheLengthAndNoMusicalResult)
{
    const TrackResult result = resultOf({Started{}, kFirstInfo, gridFrom(0.0), kFinalInfo, Error{}});
    ASSERT_FALSE(result.succeeded());
    EXPECT_EQ(result.error->kind, ErrorKind::kRejected);
    EXPECT_FALSE(result.error->text.isEmpty());
    EXPECT_EQ(result.frames, 441000);
    EXPECT_FALSE(result.tempo);
    EXPECT_FALSE(result.loudness);
    EXPECT_FALSE(result.key);
    EXPECT_FALSE(result.beats);
}

TEST(TrackRun, TheTextOfTheWorkerIsPassedOn)
{
    EXPECT_EQ(resultOf({Started{}, Error{QStringLiteral("torn")}}).error->text, QStringLiteral("torn"));
}

TEST(TrackRun, AStopIsAnErrorOfItsOwnKind)
{
    EXPECT_EQ(resultOf({Started{}, Stopped{}}).error->kind, ErrorKind::kStopped);
}

TEST(TrackRun, AnErrorFromOutsideWins)
{
    TrackRun run({});
    run.take(Started{});
    EXPECT_EQ(run.result(TrackError{ErrorKind::kSilent, {}}).error->kind, ErrorKind::kSilent);
}

}  // namespace
