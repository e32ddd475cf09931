#include "analysis/Analysis.h"

#include "analysis/StatusCallbackDummy.h"
#include "analysis/keyText.h"
#include "synth/Cadence.h"
#include "synth/ClickTrack.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr std::uint32_t kBlock = 16384;

AnalysisSetup setupFor(const std::vector<float>& track, double sampleRate = 44100)
{
    return {.sampleRate = sampleRate,
            .sampleCount = static_cast<std::int32_t>(track.size()),
            .minimumBpm = 58,
            .detectKey = true,
            .overviewSize = 1024};
}

/// Feeds a whole track as the runner does.
void feed(Analysis& analysis, const std::vector<float>& track, std::uint32_t blockSize = kBlock)
{
    const boost::shared_array<float> buffer(new float[std::max(kBlock, analysis.frameSize())]());
    StatusCallbackDummy status;
    for (std::size_t start = 0; start < track.size(); start += blockSize) {
        const std::size_t count = std::min<std::size_t>(blockSize, track.size() - start);
        std::copy_n(track.begin() + static_cast<std::ptrdiff_t>(start), count, buffer.get());
        analysis.process(buffer, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(count),
                         start + count == track.size(), &status);
    }
}

ebo::refptr<Analysis> analyzed(const std::vector<float>& track, double sampleRate = 44100)
{
    auto analysis = ebo::makeRef<Analysis>(setupFor(track, sampleRate));
    feed(*analysis, track);
    return analysis;
}

TEST(Analysis, LoudnessHearsEverySampleOnceAndNothingBehindTheEnd)
{
    // It grows to the very end, so that a sample left out, or an old one behind a short block, would show.
    for (const std::size_t length : {71U, 16384U, 16385U, 16394U, 32837U, 100000U}) {
        std::vector<float> track = synth::noise({.seconds = 3, .seed = 8});
        track.resize(length);
        for (std::size_t frame = 0; frame < length; ++frame)
            track[frame] *= static_cast<float>(frame) / static_cast<float>(length);

        const float c = 1.0f - std::exp(-1000.0f / (44100.0f * 100.0f));
        float power = 0.0f;
        float highest = 0.0f;
        for (const float x : track) {
            power = c * (x * x) + (1.0f - c) * power;
            highest = std::max(highest, power);
        }
        EXPECT_EQ(analyzed(track)->loudness().peakLevel(), std::sqrt(highest)) << length << " frames";
    }
}

TEST(Analysis, BeforeTheLastBlockTheGridIsADefaultOf120)
{
    const auto track = synth::clickTrack({.bpm = 90, .seconds = 5});
    const auto analysis = ebo::makeRef<Analysis>(setupFor(track));
    EXPECT_EQ(analysis->bpm(), 120.0);
    EXPECT_EQ(analysis->frameSize(), 70U);
    const BeatGrid expected(44100, static_cast<double>(track.size()), 0.0, 120.0);
    EXPECT_EQ(analysis->beatGrid().collection().anchors(), expected.collection().anchors());

    const boost::shared_array<float> buffer(new float[kBlock]());
    analysis->process(buffer, 0, kBlock, false, nullptr);
    EXPECT_EQ(analysis->bpm(), 120.0);
    EXPECT_EQ(analysis->beatGrid().collection().anchors(), expected.collection().anchors());
}

TEST(Analysis, ClickTracksHaveTheirTempoInTheRange)
{
    for (const double bpm : {60.0, 72.0, 87.5, 100.0, 115.0, 128.0, 140.0, 174.0, 180.0}) {
        const auto analysis = analyzed(synth::clickTrack({.bpm = bpm, .seconds = 40, .offsetSeconds = 0.2}));
        const double expected = bpm < 116 ? bpm : bpm / 2;
        EXPECT_NEAR(analysis->bpm(), expected, 0.06) << bpm << " BPM";
    }
}

TEST(Analysis, TheGridLiesOnTheClicks)
{
    for (const double offset : {0.0, 0.2, 0.45, 1.0}) {
        const auto analysis =
            analyzed(synth::clickTrack({.bpm = 100, .seconds = 60, .offsetSeconds = offset}));
        ASSERT_EQ(analysis->bpm(), 100.0);
        const double beatZero = analysis->beatGrid().collection().samplePositionForBeat(0.0) / 44100;
        EXPECT_LT(std::abs(std::remainder(beatZero - offset, 0.6)), 0.02)
            << "clicks from " << offset << " s, beat 0 at " << beatZero << " s";
    }
}

TEST(Analysis, StraightEighthsKeepTheTempo)
{
    const auto analysis = analyzed(synth::clickTrack({.bpm = 90, .seconds = 60, .swing = 0.5}));
    EXPECT_NEAR(analysis->bpm(), 90.0, 0.06);
}

TEST(Analysis, ATripletSwingAloneIsHeardAsThreeQuartersOfItsTempo)
{
    // The distances are a third and two thirds of a beat: 270 and 135 BPM, an octave apart, and so both at
    // 67.5 in the range from 58 to 116. Nothing in the clicks has the distance of a whole beat.
    const auto analysis = analyzed(synth::clickTrack({.bpm = 90, .seconds = 60, .swing = 2.0 / 3}));
    EXPECT_NEAR(analysis->bpm(), 67.5, 0.06);
}

TEST(Analysis, ADriftingTempoIsFoundBetweenItsEnds)
{
    const auto analysis = analyzed(synth::clickTrack({.bpm = 100, .seconds = 60, .driftBpm = 1}));
    EXPECT_GT(analysis->bpm(), 99.5);
    EXPECT_LT(analysis->bpm(), 101.5);
}

TEST(Analysis, AHouseLoopHasItsTempoAndItsBeats)
{
    const auto analysis = analyzed(synth::houseLoop({.seconds = 60, .bpm = 112}));
    EXPECT_NEAR(analysis->bpm(), 112.0, 0.05);
    const double beatLength = 60 / 112.0;
    const double beatZero = analysis->beatGrid().collection().samplePositionForBeat(0.0) / 44100;
    EXPECT_LT(std::abs(std::remainder(beatZero, beatLength / 2)), 0.03) << "beat 0 at " << beatZero << " s";
}

TEST(Analysis, SilenceGivesTheMiddleTempoAGridFromZeroAndAFlatWave)
{
    const auto track = synth::silence(3);
    const auto analysis = analyzed(track);
    EXPECT_EQ(analysis->bpm(), 87.0);
    const BeatGrid expected(44100, static_cast<double>(track.size()), 0.0, 87.0);
    EXPECT_EQ(analysis->beatGrid().collection().anchors(), expected.collection().anchors());
    EXPECT_EQ(analysis->loudness().peakLevel(), 0.00001f);
    EXPECT_EQ(analysis->waveform().highResolutionMaximum(), WaveformAnalyzer::HighResolutionEntry{});
}

TEST(Analysis, OneClickHasNoTempo)
{
    auto track = synth::silence(3);
    const auto click = synth::clickTrack({.bpm = 60, .seconds = 0.5});
    std::copy(click.begin(), click.end(), track.begin() + 44100);
    const auto analysis = analyzed(track);
    EXPECT_TRUE(analysis->bpm() >= 58.0 && analysis->bpm() < 116.0) << analysis->bpm();
    const BeatGrid expected(44100, static_cast<double>(track.size()), 0.0, analysis->bpm());
    EXPECT_EQ(analysis->beatGrid().collection().anchors(), expected.collection().anchors());
    EXPECT_GT(analysis->waveform().highResolutionMaximum()[2], 0);
}

TEST(Analysis, NoiseHasSomeTempoInTheRange)
{
    const auto analysis = analyzed(synth::noise({.seconds = 20}));
    EXPECT_TRUE(analysis->bpm() >= 58.0 && analysis->bpm() < 116.0) << analysis->bpm();
    EXPECT_NEAR(analysis->loudness().peakLevel(), std::sqrt(1.0 / 3), 0.02);
}

TEST(Analysis, TracksAroundTheSizesOfFrameAndBlockAreAnalysedWhole)
{
    for (const std::size_t frames : {71U, 139U, 140U, 16383U, 16384U, 16385U, 32768U, 32769U}) {
        auto track = synth::noise({.seconds = 1});
        track.resize(frames);
        const auto analysis = analyzed(track);
        EXPECT_EQ(analysis->waveform().highResolutionEntries().size(), frames / 420 + 1) << frames;
        EXPECT_EQ(analysis->waveform().overviewEntries().size(), 1024U) << frames;
        EXPECT_GE(analysis->beatGrid().collection().anchors().back().samplePosition,
                  static_cast<double>(frames))
            << frames;
    }
}

TEST(Analysis, ALastBlockWithNothingInItStillEndsTheTrack)
{
    const auto track = synth::clickTrack({.bpm = 100, .seconds = 20});
    const auto analysis = ebo::makeRef<Analysis>(setupFor(track));
    const boost::shared_array<float> buffer(new float[kBlock]());
    std::uint32_t position = 0;
    for (; position + kBlock <= track.size(); position += kBlock) {
        std::copy_n(track.begin() + position, kBlock, buffer.get());
        analysis->process(buffer, position, kBlock, false, nullptr);
    }
    analysis->process(buffer, position, 0, true, nullptr);
    EXPECT_NEAR(analysis->bpm(), 100.0, 0.1);
    EXPECT_EQ(analysis->waveform().entriesMissing(), 0U);
    EXPECT_NE(keyNumber(analysis->key()), -1) << "the key is named all the same";
}

TEST(Analysis, AStoppedSearchLeavesAGridWithoutOffset)
{
    class Stop : public StatusCallbackInterface {
    public:
        bool addProgress(float) override { return false; }
    };
    const auto track = synth::clickTrack({.bpm = 100, .seconds = 20, .offsetSeconds = 0.3});
    const auto analysis = ebo::makeRef<Analysis>(setupFor(track));
    const boost::shared_array<float> buffer(new float[track.size()]());
    std::copy(track.begin(), track.end(), buffer.get());
    Stop stop;
    analysis->process(buffer, 0, static_cast<std::uint32_t>(track.size()), true, &stop);
    EXPECT_NEAR(analysis->bpm(), 100.0, 0.1);
    const BeatGrid expected(44100, static_cast<double>(track.size()), 0.0, analysis->bpm());
    EXPECT_EQ(analysis->beatGrid().collection().anchors(), expected.collection().anchors());
    EXPECT_EQ(analysis->waveform().entriesMissing(), 0U) << "the wave is complete all the same";
}

TEST(Analysis, NamesTheKeyInTheProductsSpelling)
{
    EXPECT_EQ(analyzed(synth::cadence({.tonic = 4, .minor = true}))->key(), QStringLiteral("Dbm"));
    EXPECT_EQ(analyzed(synth::cadence({.tonic = 9, .minor = true}))->key(), QStringLiteral("F#m"));
    EXPECT_EQ(analyzed(synth::cadence({.tonic = 1}))->key(), QStringLiteral("Bb"));
}

TEST(Analysis, TheKeyIsUnknownUntilTheLastBlock)
{
    const auto track = synth::cadence({});
    const auto analysis = ebo::makeRef<Analysis>(setupFor(track));
    const boost::shared_array<float> buffer(new float[kBlock]());
    for (std::uint32_t position = 0; position + kBlock <= track.size(); position += kBlock) {
        std::copy_n(track.begin() + position, kBlock, buffer.get());
        analysis->process(buffer, position, kBlock, false, nullptr);
        ASSERT_TRUE(analysis->key().isEmpty());
    }
    analysis->process(buffer, static_cast<std::uint32_t>(track.size()), 0, true, nullptr);
    EXPECT_EQ(analysis->key(), QStringLiteral("A"));
}

TEST(Analysis, AKeyThatIsNotFoundIsADash)
{
    EXPECT_EQ(analyzed(synth::silence(0.4))->key(), QStringLiteral("-"));
}

TEST(Analysis, LooksForNoKeyUnlessAsked)
{
    const auto track = synth::cadence({});
    AnalysisSetup setup = setupFor(track);
    setup.detectKey = false;
    const auto analysis = ebo::makeRef<Analysis>(setup);
    feed(*analysis, track);
    EXPECT_FALSE(analysis->keyEnabled());
    EXPECT_TRUE(analysis->key().isEmpty());
}

TEST(Analysis, LooksForNoKeyAtRatesThatAreTooLow)
{
    const auto analysis = analyzed(synth::cadence({.sampleRate = 8000}), 8000);
    EXPECT_FALSE(analysis->keyEnabled());
    EXPECT_TRUE(analysis->key().isEmpty());
}

TEST(Analysis, TheKeyDetectorChangesNothingForTheOthers)
{
    const auto track = synth::houseLoop({.seconds = 20});
    const auto with = analyzed(track);
    AnalysisSetup setup = setupFor(track);
    setup.detectKey = false;
    const auto without = ebo::makeRef<Analysis>(setup);
    feed(*without, track);
    EXPECT_EQ(with->bpm(), without->bpm());
    EXPECT_EQ(with->loudness().peakLevel(), without->loudness().peakLevel());
    EXPECT_EQ(with->waveform().highResolutionEntries(), without->waveform().highResolutionEntries());
}

TEST(Analysis, BandLevelsAreScaledForTheDetectorToo)
{
    const auto analysis = ebo::makeRef<Analysis>(setupFor(synth::silence(1)));
    std::array<float, 9> bands{6, 12, 18, 24, 30, 36, 42, 48, 54};
    analysis->rmsUpdate(0, bands.data());
    EXPECT_EQ(bands, (std::array<float, 9>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(Analysis, TheWaveShowsASineInItsThird)
{
    const auto low = analyzed(synth::sine({.frequency = 65, .seconds = 2}));
    EXPECT_GT(low->waveform().highResolutionMaximum()[0], 150);
    EXPECT_LT(low->waveform().highResolutionMaximum()[2], 30);
    const auto high = analyzed(synth::sine({.frequency = 8317.5, .seconds = 2}));
    EXPECT_GT(high->waveform().highResolutionMaximum()[2], 150);
    EXPECT_LT(high->waveform().highResolutionMaximum()[0], 30);
}

TEST(Analysis, HugeSamplesDoNoHarm)
{
    std::vector<float> track(100000, 0.0f);
    for (std::size_t i = 20000; i < 40000; ++i)
        track[i] = i % 3 == 0 ? 1e38f : -1e38f;
    const auto analysis = analyzed(track);
    EXPECT_TRUE(std::isfinite(analysis->bpm()));
    EXPECT_FALSE(std::isnan(analysis->loudness().peakLevel()));
    EXPECT_EQ(analysis->waveform().highResolutionMaximum()[0], 255);
    for (const BeatAnchor& anchor : analysis->beatGrid().collection().anchors())
        EXPECT_TRUE(std::isfinite(anchor.samplePosition));
}

TEST(Analysis, LowAndHighRatesWork)
{
    for (const unsigned rate : {400U, 4000U, 8000U, 16600U, 22050U, 96000U, 192000U}) {
        const auto analysis =
            analyzed(synth::clickTrack({.bpm = 100, .seconds = 30, .sampleRate = rate}), rate);
        EXPECT_TRUE(analysis->bpm() >= 58.0 && analysis->bpm() < 116.0) << rate << " Hz: " << analysis->bpm();
        if (rate >= 8000) {
            EXPECT_NEAR(analysis->bpm(), 100.0, 0.2) << rate << " Hz";
        }
    }
}

}  // namespace
