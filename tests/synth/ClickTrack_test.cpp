#include "synth/ClickTrack.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

float loudestBetween(const std::vector<float>& track, std::size_t first, std::size_t last)
{
    float loudest = 0;
    for (std::size_t i = first; i < last; ++i)
        loudest = std::max(loudest, std::abs(track[i]));
    return loudest;
}

TEST(ClickTrack, ClicksStandOnTheBeatsWithSilenceBetweenThem)
{
    const auto track = synth::clickTrack({.bpm = 120, .seconds = 2, .offsetSeconds = 0.1});
    ASSERT_EQ(track.size(), 88200U);
    EXPECT_EQ(loudestBetween(track, 0, 4410), 0.0f);
    for (const std::size_t beat : {4410U, 26460U, 48510U, 70560U}) {
        EXPECT_GT(loudestBetween(track, beat, beat + 200), 0.3f) << "beat at " << beat;
        EXPECT_EQ(loudestBetween(track, beat + 2000, std::min<std::size_t>(beat + 22050, 88200)), 0.0f);
    }
}

TEST(ClickTrack, SwingPutsASofterClickBetweenTheBeats)
{
    const auto track = synth::clickTrack({.bpm = 120, .seconds = 1, .swing = 0.5});
    EXPECT_GT(loudestBetween(track, 11025, 11225), 0.1f);
    EXPECT_LT(loudestBetween(track, 11025, 11225), loudestBetween(track, 0, 200));
}

TEST(ClickTrack, DriftMovesTheTempoFromOneEndToTheOther)
{
    const auto times = synth::beatTimes({.bpm = 100, .seconds = 60, .driftBpm = 20});
    EXPECT_NEAR(60 / (times[1] - times[0]), 100, 0.5);
    EXPECT_NEAR(60 / (times[times.size() - 1] - times[times.size() - 2]), 120, 0.5);
}

}  // namespace
