#include "analysis/WaveformAnalyzer.h"

#include "runtime/refptr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Bands = std::array<float, 9>;

constexpr std::uint32_t kHop = 70;

/// Feeds `hops` detector frames with the same bands, on the grid of the detector at 44100 Hz.
void feed(WaveformAnalyzer& waveform, std::uint32_t firstHop, std::uint32_t hops, const Bands& bands)
{
    for (std::uint32_t i = 0; i < hops; ++i)
        waveform.addBands((firstHop + i) * kHop, bands.data());
}

TEST(WaveformAnalyzer, ACdTrackHas105EntriesPerSecond)
{
    const WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    EXPECT_EQ(waveform.framesPerEntry(), 420.0);
    EXPECT_EQ(waveform.entriesPerSecond(), 105.0);
    EXPECT_EQ(waveform.totalEntries(), 1051U);
}

TEST(WaveformAnalyzer, AnOverviewEntryPerEntryLeavesOneOver)
{
    const WaveformAnalyzer waveform(44100, 420, 430080, 1024);
    EXPECT_EQ(waveform.entriesPerOverviewEntry(), 1.0);
    EXPECT_EQ(waveform.totalEntries(), 1025U);
}

TEST(WaveformAnalyzer, AConstantHalfBecomes127)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    // Three low bands, six hops: 18 values that add up to a half.
    feed(waveform, 0, 60, {0.5f / 18, 0.5f / 18, 0.5f / 18, 0, 0, 0, 0, 0, 0});
    waveform.flush();
    // The sum of 18 rounded floats may fall short of the half by a rounding error.
    for (const std::size_t entry : {0U, 5U, 9U}) {
        EXPECT_EQ(waveform.highResolutionEntries()[entry][0], 127);
        EXPECT_EQ(waveform.highResolutionEntries()[entry][3], 127);
        EXPECT_EQ(waveform.highResolutionEntries()[entry][1], 0);
        EXPECT_EQ(waveform.highResolutionEntries()[entry][2], 0);
    }
}

TEST(WaveformAnalyzer, SilenceIsAllZero)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    feed(waveform, 0, 6300, {});
    waveform.flush();
    EXPECT_EQ(waveform.highResolutionEntries().size(), 1051U);
    for (const auto& entry : waveform.highResolutionEntries())
        EXPECT_EQ(entry, WaveformAnalyzer::HighResolutionEntry{});
    for (const auto& entry : waveform.overviewEntries())
        EXPECT_EQ(entry, WaveformAnalyzer::OverviewEntry{});
    EXPECT_EQ(waveform.highResolutionMaximum(), WaveformAnalyzer::HighResolutionEntry{});
}

TEST(WaveformAnalyzer, TheFastHighCurveFallsFarFasterThanTheSlowLowOne)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    Bands bands;
    bands.fill(1.0f / 18);
    feed(waveform, 0, 6, bands);
    feed(waveform, 6, 18, {});
    const auto& entries = waveform.highResolutionEntries();
    ASSERT_EQ(entries.size(), 3U);
    // Two entries after the end of the sound, 2/105 s: exp(-1.905) for 10 ms, exp(-0.1905) for 100 ms. The
    // high band is two thirds, since one of its three bands is left out.
    EXPECT_NEAR(entries[2][2], 255 * 2 / 3.0 * std::exp(-2 / 1.05), 1.5);
    EXPECT_NEAR(entries[2][3], 255 * std::exp(-2 / 10.5), 1.5);
}

TEST(WaveformAnalyzer, EachBandBelongsToItsThirdAndTheSeventhToNone)
{
    for (std::size_t band = 0; band < 9; ++band) {
        WaveformAnalyzer waveform(44100, 420, 441000, 1024);
        Bands bands{};
        bands[band] = 1.0f;
        feed(waveform, 0, 7, bands);
        WaveformAnalyzer::HighResolutionEntry expected{};
        if (band != 6)
            expected[band / 3] = expected[band / 3 + 3] = 255;
        ASSERT_EQ(waveform.highResolutionEntries().size(), 1U);
        EXPECT_EQ(waveform.highResolutionEntries()[0], expected) << "band " << band;
    }
}

TEST(WaveformAnalyzer, SumsAboveOneAreClippedInTheByteButNotInTheCurve)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    feed(waveform, 0, 6, {4.0f / 6, 0, 0, 0, 0, 0, 0, 0, 0});
    feed(waveform, 6, 600, {});
    const auto& entries = waveform.highResolutionEntries();
    EXPECT_EQ(entries[0][0], 255);
    // From 4.0 the fast low curve needs ln 4 x 72.5 ms = 100.5 ms, 10.55 entries, to come back to 1.0.
    EXPECT_EQ(entries[10][0], 255);
    EXPECT_LT(entries[11][0], 255);
}

TEST(WaveformAnalyzer, TheSumsOfAHopGoIntoTheNextEntry)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    feed(waveform, 0, 6, {});
    waveform.addBands(420, Bands{1.0f}.data());  // the hop that completes entry 0
    ASSERT_EQ(waveform.entryCount(), 1U);
    EXPECT_EQ(waveform.highResolutionEntries()[0][0], 0);
    feed(waveform, 7, 6, {});
    EXPECT_EQ(waveform.highResolutionEntries()[1][0], 255);
}

TEST(WaveformAnalyzer, EveryLengthEndsWithAllItsEntriesAndAFullOverview)
{
    for (const std::uint64_t length :
         {71U, 419U, 420U, 421U, 16384U, 16385U, 430079U, 430080U, 430081U, 999999U}) {
        WaveformAnalyzer waveform(44100, 420, length, 1024);
        Bands bands;
        bands.fill(0.02f);
        feed(waveform, 0, static_cast<std::uint32_t>(length / kHop), bands);
        waveform.flush();
        EXPECT_EQ(waveform.highResolutionEntries().size(), length / 420 + 1) << length << " frames";
        EXPECT_EQ(waveform.entryCount(), waveform.totalEntries());
        EXPECT_EQ(waveform.overviewEntries().size(), 1024U) << length << " frames";
        EXPECT_EQ(waveform.overviewCount(), 1024U);
        EXPECT_EQ(waveform.entriesMissing(), 0U);
    }
}

TEST(WaveformAnalyzer, AnOverviewOfAnySizeIsNeverLongerThanThat)
{
    for (const std::uint32_t size : {1U, 3U, 7U, 10U, 100U, 997U}) {
        for (const std::uint64_t entries : {1U, 2U, 3U, 9U, 50U, 499U, 997U, 2000U}) {
            WaveformAnalyzer waveform(44100, 420, entries * 420, size);
            waveform.flush();
            EXPECT_EQ(waveform.overviewEntries().size(), size) << entries << " entries";
        }
    }
}

TEST(WaveformAnalyzer, InAShortTrackOneEntryRepeatsInTheOverview)
{
    WaveformAnalyzer waveform(44100, 420, 107520, 1024);
    EXPECT_EQ(waveform.entriesPerOverviewEntry(), 0.25);
    feed(waveform, 0, 6, {0.25f, 0, 0, 0, 0, 0, 0, 0, 0});
    feed(waveform, 6, 7, {});
    // Entry 0 ends at 1 entry: overview entries that end at 0.25, 0.5 and 0.75 are complete, that at 1 is
    // not.
    ASSERT_EQ(waveform.entryCount(), 2U);
    ASSERT_EQ(waveform.overviewEntries().size(), 7U);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(waveform.overviewEntries()[i][0], 255);
}

TEST(WaveformAnalyzer, TheOverviewIsTheMeanOfTheFastCurves)
{
    WaveformAnalyzer waveform(44100, 420, 860160, 1024);  // two entries make one
    feed(waveform, 0, 6, {0.6f / 6, 0, 0, 0, 0, 0, 0, 0, 0});
    feed(waveform, 6, 13, {});
    ASSERT_EQ(waveform.entryCount(), 3U);
    ASSERT_EQ(waveform.overviewEntries().size(), 1U);
    // The entry that proves the overview entry's time over belongs to its mean.
    const double fall = std::exp(-1000 / (72.5 * 105));
    EXPECT_NEAR(waveform.overviewEntries()[0][0], 255 * 0.6 * (1 + fall + fall * fall) / 3, 1.0);
}

TEST(WaveformAnalyzer, TheMaximaSurviveTheClearingOfTheLists)
{
    WaveformAnalyzer waveform(44100, 420, 430080, 1024);
    feed(waveform, 0, 20, {0.5f / 6, 0, 0, 0, 0, 0, 0, 0, 1.0f});
    ASSERT_FALSE(waveform.overviewEntries().empty());
    waveform.clearHighResolutionEntries();
    waveform.clearOverviewEntries();
    const std::uint32_t entriesBefore = waveform.entryCount();
    const std::size_t room = waveform.highResolutionEntries().capacity();
    waveform.flush();
    EXPECT_EQ(waveform.highResolutionEntries().size(), 1025U - entriesBefore);
    EXPECT_EQ(waveform.highResolutionEntries().capacity(), room);
    EXPECT_EQ(waveform.highResolutionMaximum()[0], 127);
    EXPECT_EQ(waveform.highResolutionMaximum()[2], 255);
    EXPECT_EQ(waveform.overviewMaximum()[2], 255);
}

TEST(WaveformAnalyzer, AnUnbelievableLengthTakesNoMemoryInAdvance)
{
    const WaveformAnalyzer waveform(320, 6, 2147483647, 1024);
    EXPECT_EQ(waveform.totalEntries(), 357913942U);
    EXPECT_LE(waveform.highResolutionEntries().capacity(), std::size_t{1} << 20U);
}

TEST(WaveformAnalyzer, WhatIsNoNumberIsDrawnAsSilence)
{
    WaveformAnalyzer waveform(44100, 420, 441000, 1024);
    Bands bands;
    bands.fill(std::numeric_limits<float>::quiet_NaN());
    feed(waveform, 0, 7, bands);
    EXPECT_EQ(waveform.highResolutionEntries()[0], WaveformAnalyzer::HighResolutionEntry{});
}

}  // namespace
