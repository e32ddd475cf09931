#include "analysis/EboTransientDetection.h"

#include "analysis/RmsInterface.h"
#include "analysis/plain/PlainTransientDetection.h"
#include "analysis/transientFrameSize.h"
#include "support/repetitions.h"
#include "synth/ClickTrack.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr std::uint32_t kBlock = 16384;

/// Scales the levels as the analysis does, and remembers what it was told.
class Scaler : public RmsInterface {
public:
    void rmsUpdate(std::uint32_t position, float* bands) override
    {
        positions.push_back(position);
        for (int i = 0; i < 9; ++i)
            bands[i] /= 6.0f;
        loudest = std::max(loudest, *std::max_element(bands, bands + 9));
    }

    std::vector<std::uint32_t> positions;
    float loudest = 0.0f;
};

/// Feeds a track in blocks, from a buffer as large as the contract demands.
template <typename Detection>
void feed(Detection& detection, const std::vector<float>& track, RmsInterface& rms,
          std::uint32_t blockSize = kBlock)
{
    std::vector<float> buffer(kBlock);
    for (std::size_t start = 0; start < track.size(); start += blockSize) {
        const std::size_t count = std::min<std::size_t>(blockSize, track.size() - start);
        std::copy_n(track.begin() + static_cast<std::ptrdiff_t>(start), count, buffer.begin());
        detection.process(buffer.data(), static_cast<std::uint32_t>(count), start, &rms);
    }
}

/// A burst of a band's centre frequency, which rises within one detector frame.
void addBurst(std::vector<float>& track, std::size_t start, std::size_t frames, double frequency,
              float amplitude)
{
    for (std::size_t i = 0; i < frames && start + i < track.size(); ++i)
        track[start + i] +=
            amplitude *
            static_cast<float>(std::sin(6.283185307 * frequency * static_cast<double>(i) / 44100));
}

std::vector<TransientMap::Entry> onsetsOfBand(const TransientMap& onsets, std::uint32_t band)
{
    std::vector<TransientMap::Entry> result;
    for (const auto& onset : onsets) {
        if (onset.event.band == band)
            result.push_back(onset);
    }
    return result;
}

TEST(TransientFrameSize, IsTheNearestToASixHundredAndThirtiethOfASecond)
{
    EXPECT_EQ(transientFrameSize(44100.0f), 70U);
    EXPECT_EQ(transientFrameSize(48000.0f), 76U);
    EXPECT_EQ(transientFrameSize(96000.0f), 152U);
    EXPECT_EQ(transientFrameSize(8000.0f), 13U);
    EXPECT_EQ(transientFrameSize(316.0f), 1U);
}

TEST(TransientFrameSize, IsZeroWhereThereIsNothingToAnalyse)
{
    using Limits = std::numeric_limits<float>;
    for (const float rate : {314.0f, 1.0f, 0.0f, -44100.0f, -Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_EQ(transientFrameSize(rate), 0U) << rate;
}

TEST(EboTransientDetection, SilenceHasNoOnsets)
{
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, synth::silence(5), scaler);
    EXPECT_EQ(scaler.loudest, 0.0f);
    EXPECT_TRUE(detection.getTransients().empty());
}

TEST(EboTransientDetection, AFirstOnsetHasToExceedTwiceTheFloor)
{
    // The level of a steady sine is 0.7071 times its amplitude, a sixth of that after scaling.
    for (const auto& [level, onsets] : {std::pair{0.0075, 0U}, std::pair{0.0090, 1U}}) {
        auto track = synth::silence(2);
        addBurst(track, 44100, 44100, 8317.5, static_cast<float>(level * 6 / std::sqrt(0.5)));
        EboTransientDetection detection(44100.0f);
        Scaler scaler;
        feed(detection, track, scaler);
        EXPECT_EQ(onsetsOfBand(detection.getTransients(), 8).size(), onsets) << "level " << level;
    }
}

TEST(EboTransientDetection, TheFirstFrameOfTheTrackIsHeardButIsNoOnset)
{
    auto track = synth::silence(1);
    addBurst(track, 0, 50, 8317.5, 1.0f);  // all in the first frame, with its echo
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    EXPECT_GT(scaler.loudest, 0.05f);
    EXPECT_TRUE(onsetsOfBand(detection.getTransients(), 8).empty());
}

TEST(EboTransientDetection, AFrameAcrossTwoBlocksIsHeardButIsNoOnset)
{
    // 16384 is 234 frames and 4 samples: the frame from 16380 to 16450 lies across the border.
    for (const auto& [start, onsets] : {std::pair{16380U, 0U}, std::pair{16380U - 70U, 1U}}) {
        auto track = synth::silence(1);
        addBurst(track, start, 50, 8317.5, 1.0f);
        EboTransientDetection detection(44100.0f);
        Scaler scaler;
        feed(detection, track, scaler);
        EXPECT_GT(scaler.loudest, 0.05f);
        EXPECT_EQ(onsetsOfBand(detection.getTransients(), 8).size(), onsets) << "burst at " << start;
    }
}

TEST(EboTransientDetection, HowATrackIsCutIntoBlocksMatters)
{
    // Each block has one frame that is not examined, so an onset can hide in it with one block size and show
    // with another.
    auto track = synth::silence(1);
    addBurst(track, 16380, 50, 8317.5, 1.0f);
    EboTransientDetection hidden(44100.0f);
    EboTransientDetection seen(44100.0f);
    Scaler scaler;
    feed(hidden, track, scaler, 16384);
    feed(seen, track, scaler, 10000);
    EXPECT_TRUE(onsetsOfBand(hidden.getTransients(), 8).empty());
    EXPECT_EQ(onsetsOfBand(seen.getTransients(), 8).size(), 1U);
}

TEST(EboTransientDetection, EachFrameIsReportedOnceWithThePositionReached)
{
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    const std::vector<float> buffer(kBlock);
    detection.process(buffer.data(), 216, 0, &scaler);  // 70 + 2 x 70, and 6 left over
    EXPECT_EQ(scaler.positions, (std::vector<std::uint32_t>{70, 70, 140}));
    scaler.positions.clear();
    detection.process(buffer.data(), 140, 216, &scaler);  // 64 complete the frame, then one more
    EXPECT_EQ(scaler.positions, (std::vector<std::uint32_t>{280, 280}));
}

TEST(EboTransientDetection, PositionsBeyond32BitsAreReportedByTheirLowBits)
{
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    const std::vector<float> buffer(kBlock);
    detection.process(buffer.data(), 140, (std::uint64_t{1} << 32U) + 5, &scaler);
    EXPECT_EQ(scaler.positions, (std::vector<std::uint32_t>{75, 75}));
}

TEST(EboTransientDetection, AnOnsetTellsBandStrengthAndDistance)
{
    auto track = synth::silence(2);
    addBurst(track, 14000, 350, 1039.7, 0.8f);
    addBurst(track, 14000 + 22050, 350, 1039.7, 0.8f);  // 22050 samples, 120 BPM; 315 frames
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    const auto onsets = onsetsOfBand(detection.getTransients(), 5);
    ASSERT_EQ(onsets.size(), 2U);
    EXPECT_NEAR(static_cast<double>(onsets[0].position), 14000, 140);
    EXPECT_NEAR(onsets[1].event.interval, 22050, 140);
    EXPECT_NEAR(onsets[1].event.bpm, 120, 1);
    EXPECT_GT(onsets[1].event.strength, 0.008f);
    EXPECT_LT(onsets[1].event.strength, 0.8f / 6);
}

TEST(EboTransientDetection, TheFirstOnsetCountsFromJustBeforeTheTrack)
{
    auto track = synth::silence(1);
    addBurst(track, 70, 350, 8317.5, 1.0f);
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    const auto onsets = onsetsOfBand(detection.getTransients(), 8);
    ASSERT_EQ(onsets.size(), 1U);
    EXPECT_EQ(onsets[0].position, 70U);
    EXPECT_EQ(onsets[0].event.interval, 70U + 4411U);
}

TEST(EboTransientDetection, ARiseTooSoonRaisesTheOnsetBeforeIt)
{
    auto track = synth::silence(1);
    addBurst(track, 7000, 70, 8317.5, 0.2f);
    addBurst(track, 7000 + 2100, 70, 8317.5, 1.0f);
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    const auto onsets = onsetsOfBand(detection.getTransients(), 8);
    ASSERT_EQ(onsets.size(), 1U);
    EXPECT_EQ(onsets[0].position, 7000U);
    EXPECT_EQ(onsets[0].event.strength, scaler.loudest) << "the strength of the second rise";
    EXPECT_EQ(onsets[0].event.interval, 7000U + 4411U);
}

TEST(EboTransientDetection, ARiseTooSoonMakesTheNextOneWait)
{
    // The third burst is 147 ms behind the first, but 71 ms behind the second.
    auto track = synth::silence(1);
    addBurst(track, 7000, 70, 8317.5, 0.1f);
    addBurst(track, 7000 + 3360, 70, 8317.5, 0.3f);
    addBurst(track, 7000 + 6510, 70, 8317.5, 0.9f);
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    EXPECT_EQ(onsetsOfBand(detection.getTransients(), 8).size(), 1U);
}

TEST(EboTransientDetection, ALongCrescendoIsOneOnset)
{
    // Every 79 ms the tone becomes three times as loud: ten rises, each too soon after the last.
    std::vector<float> track = synth::silence(0.5);
    const auto tone = synth::sine({.frequency = 1039.7, .seconds = 35000 / 44100.0});
    for (std::size_t i = 0; i < tone.size(); ++i)
        track.push_back(tone[i] *
                        static_cast<float>(0.1 * std::pow(3.0, std::floor(static_cast<double>(i) / 3500))));
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    feed(detection, track, scaler);
    EXPECT_EQ(onsetsOfBand(detection.getTransients(), 5).size(), 1U);
}

TEST(EboTransientDetection, AShortLastBlockLooksBehindItsCountAndNoFurther)
{
    EboTransientDetection detection(44100.0f);
    Scaler scaler;
    std::vector<float> buffer(kBlock);  // the sanitizer watches its end
    detection.process(buffer.data(), kBlock, 0, &scaler);
    const std::size_t reported = scaler.positions.size();
    detection.process(buffer.data(), 3, kBlock, &scaler);
    EXPECT_EQ(scaler.positions.size(), reported + 1);
    detection.process(buffer.data(), 0, kBlock + 3, &scaler);
    EXPECT_EQ(scaler.positions.size(), reported + 2);
}

TEST(EboTransientDetection, AFrameLongerThanABlockIsSurvived)
{
    EboTransientDetection detection(2e7f);
    ASSERT_GT(detection.getFrameSize(), kBlock);
    Scaler scaler;
    std::vector<float> buffer(detection.getFrameSize());
    for (std::uint64_t block = 0; block < 5; ++block)
        detection.process(buffer.data(), kBlock, block * kBlock, &scaler);
    EXPECT_EQ(scaler.positions.size(), 5U);
}

TEST(EboTransientDetection, LowRatesGiveDefinedResults)
{
    for (const float rate : {315.0f, 400.0f, 1000.0f, 2000.0f, 4000.0f, 8000.0f}) {
        EboTransientDetection detection(rate);
        Scaler scaler;
        feed(detection, synth::noise({.seconds = 1}), scaler);
        EXPECT_TRUE(std::isfinite(scaler.loudest)) << rate << " Hz";
        for (const auto& [position, event] : detection.getTransients())
            EXPECT_TRUE(std::isfinite(event.strength) && std::isfinite(event.bpm)) << rate << " Hz";
    }
}

void expectEqualToPlain(const std::vector<float>& track, float sampleRate, std::uint32_t blockSize)
{
    EboTransientDetection detection(sampleRate);
    plain::PlainTransientDetection reference(sampleRate);
    Scaler scaler;
    Scaler plainScaler;
    feed(detection, track, scaler, blockSize);
    feed(reference, track, plainScaler, blockSize);

    EXPECT_EQ(scaler.positions, plainScaler.positions);
    EXPECT_EQ(scaler.loudest, plainScaler.loudest);
    ASSERT_EQ(detection.getTransients().size(), reference.onsets().size());
    auto expected = reference.onsets().begin();
    for (const auto& [position, event] : detection.getTransients()) {
        ASSERT_EQ(position, expected->first);
        ASSERT_EQ(event.band, expected->second.band);
        ASSERT_EQ(event.strength, expected->second.strength);
        ASSERT_EQ(event.bpm, expected->second.bpm);
        ASSERT_EQ(event.interval, expected->second.interval);
        ++expected;
    }
}

TEST(EboTransientDetection, EqualsThePlainFormBitForBit)
{
    const double seconds = 5;
    for (const std::uint32_t blockSize : {kBlock, 1000U}) {
        expectEqualToPlain(synth::houseLoop({.seconds = seconds}), 44100, blockSize);
        expectEqualToPlain(synth::clickTrack({.bpm = 171, .seconds = seconds, .swing = 0.6}), 44100,
                           blockSize);
        expectEqualToPlain(synth::noise({.seconds = seconds}), 48000, blockSize);
        expectEqualToPlain(synth::houseLoop({.seconds = seconds, .sampleRate = 8000}), 8000, blockSize);
    }
}

TEST(EboTransientDetection, EqualsThePlainFormOverRandomGates)
{
    for (int round = 0; round < testsupport::repetitions(10); ++round) {
        auto track = synth::noise({.seconds = 2, .seed = static_cast<std::uint32_t>(round)});
        synth::ClickTrack gates{.bpm = 200.0 + 37 * round, .seconds = 2, .driftBpm = 90};
        float gain = 0.0f;
        const auto clicks = synth::clickTrack(gates);
        for (std::size_t i = 0; i < track.size(); ++i) {
            gain = std::max(gain * 0.9995f, std::abs(clicks[i]));
            track[i] *= gain;
        }
        expectEqualToPlain(track, 44100, kBlock);
    }
}

}  // namespace
