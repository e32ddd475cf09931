#include "key/CKeyAnalysisIf.h"

#include "key/CRealFFT_If.h"
#include "key/LogSpectrum.h"
#include "key/NoteBins.h"
#include "key/keyMusic.h"
#include "key/plain/PlainChroma.h"
#include "synth/HouseLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace {

using eboKey::CKeyAnalysisIf;
using testsupport::keyTone;
using testsupport::kKeyBlock;
using testsupport::kKeyRate;
using testsupport::noteFrequency;

using Chroma = std::array<float, 12>;

std::unique_ptr<CKeyAnalysisIf> make(float tuningFrequency = 440.0f)
{
    std::unique_ptr<CKeyAnalysisIf> analysis;
    EXPECT_EQ(CKeyAnalysisIf::create(analysis, kKeyRate, kKeyBlock, 4, tuningFrequency), eboKey::kOk);
    return analysis;
}

Chroma process(CKeyAnalysisIf& analysis, const float* block, int count = kKeyBlock)
{
    Chroma chroma;
    chroma.fill(-1.0f);
    analysis.process(block, count, chroma.data());
    return chroma;
}

/// Analyses all whole blocks. @return the last smoothed chroma
Chroma processAll(CKeyAnalysisIf& analysis, const std::vector<float>& music)
{
    Chroma chroma{};
    for (std::size_t start = 0; start + kKeyBlock <= music.size(); start += kKeyBlock)
        chroma = process(analysis, &music[start]);
    return chroma;
}

Chroma smoothed(const CKeyAnalysisIf& analysis)
{
    Chroma chroma;
    analysis.getChroma(chroma.data());
    return chroma;
}

Chroma mean(const CKeyAnalysisIf& analysis)
{
    Chroma chroma;
    analysis.getMeanChroma(chroma.data());
    return chroma;
}

float sum(const Chroma& chroma) { return std::accumulate(chroma.begin(), chroma.end(), 0.0f); }

std::ptrdiff_t highest(const Chroma& chroma)
{
    return std::max_element(chroma.begin(), chroma.end()) - chroma.begin();
}

void expectNear(const Chroma& seen, const plain::Chroma& expected, double tolerance, std::size_t block)
{
    for (std::size_t i = 0; i < seen.size(); ++i)
        ASSERT_NEAR(double{seen[i]}, expected[i], tolerance) << "block " << block << " pitch class " << i;
}

/// Dance music with harmonies above it that sit a little sharp.
std::vector<float> music()
{
    auto sound = synth::houseLoop({.seconds = 60, .sampleRate = kKeyRate});
    for (const double semitones : {3.2, 10.2, 15.2, 22.2, 27.2})
        testsupport::add(sound, keyTone(noteFrequency(semitones), 30, 0.1));
    return sound;
}

TEST(CKeyAnalysisV2, EveryNoteIsHighestInItsPitchClass)
{
    for (int note = -12; note < 36; ++note) {
        const auto analysis = make();
        const Chroma chroma = processAll(*analysis, keyTone(noteFrequency(note), 1));
        const std::ptrdiff_t expected = (note + 12) % 12;
        EXPECT_EQ(highest(chroma), expected) << "note " << note;
        EXPECT_GT(smoothed(*analysis)[static_cast<std::size_t>(expected)], 0.85f) << "note " << note;
        EXPECT_EQ(highest(mean(*analysis)), expected) << "note " << note;
    }
}

TEST(CKeyAnalysisV2, AChordIsItsThreeNotes)
{
    auto chord = keyTone(noteFrequency(3), 2, 0.3);  // C
    testsupport::add(chord, keyTone(noteFrequency(7), 2, 0.3));
    testsupport::add(chord, keyTone(noteFrequency(10), 2, 0.3));
    const auto analysis = make();
    processAll(*analysis, chord);
    const Chroma chroma = smoothed(*analysis);
    for (std::size_t i = 0; i < chroma.size(); ++i) {
        if (i == 3 || i == 7 || i == 10) {
            EXPECT_NEAR(chroma[i], 1.0f / 3, 0.05f) << i;
        } else {
            EXPECT_LT(chroma[i], 0.05f) << i;
        }
    }
}

TEST(CKeyAnalysisV2, SilenceHasNoChromaAndNoTuningOfItsOwn)
{
    const auto analysis = make(442.0f);
    const std::vector<float> silence(kKeyBlock);
    for (int block = 0; block < 20; ++block) {
        Chroma chroma;
        EXPECT_EQ(analysis->process(silence.data(), kKeyBlock, chroma.data()), 442.0f);
        EXPECT_EQ(chroma, Chroma{});
    }
    EXPECT_EQ(smoothed(*analysis), Chroma{});
    EXPECT_EQ(mean(*analysis), Chroma{});
}

TEST(CKeyAnalysisV2, SilenceBehindMusicLetsTheAverageSinkByAFifteenthABlock)
{
    const auto analysis = make();
    processAll(*analysis, keyTone(440, 10));
    const Chroma before = mean(*analysis);
    const std::vector<float> silence(kKeyBlock);
    // The first silent block still has music in the first half of its spectrum.
    for (int block = 0; block < 20; ++block) {
        const float expected = static_cast<float>(std::max(15 - block, 0)) / 15;
        EXPECT_NEAR(sum(process(*analysis, silence.data())), expected, 1e-5f) << "block " << block;
    }
    EXPECT_EQ(smoothed(*analysis), Chroma{});
    EXPECT_EQ(highest(mean(*analysis)), 0) << "the mean of the track remembers";
    EXPECT_NEAR(mean(*analysis)[0], before[0], 0.02f);
}

TEST(CKeyAnalysisV2, TheFirstBlockHasSilenceBeforeIt)
{
    const auto tone = keyTone(noteFrequency(5), 0.5);
    const auto fresh = make();
    const auto late = make();
    const std::vector<float> silence(kKeyBlock);
    process(*late, silence.data());
    EXPECT_EQ(process(*late, tone.data()), process(*fresh, tone.data()));
}

TEST(CKeyAnalysisV2, WhatIsBelowTheEnergyOfSilenceHasNoChroma)
{
    // A square wave of magnitude m has the energy m * m, in its first block half of that.
    const auto square = [](float magnitude) {
        std::vector<float> block(kKeyBlock, magnitude);
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = i % 16 < 8 ? magnitude : -magnitude;
        return block;
    };
    const auto soft = make();
    EXPECT_EQ(process(*soft, square(0.99e-4f).data()), Chroma{});
    EXPECT_EQ(process(*soft, square(0.99e-4f).data()), Chroma{});
    const auto loud = make();
    EXPECT_EQ(process(*loud, square(1.01e-4f).data()), Chroma{});
    EXPECT_GT(sum(process(*loud, square(1.01e-4f).data())), 0.0f);
}

TEST(CKeyAnalysisV2, AgreesWithThePlainMethodInDoublePrecision)
{
    const auto sound = music();
    const auto analysis = make();
    plain::PlainChroma plain;
    std::size_t blocks = 0;
    for (std::size_t start = 0; start + kKeyBlock <= sound.size(); start += kKeyBlock, ++blocks) {
        Chroma chroma;
        const float tuning = analysis->process(&sound[start], kKeyBlock, chroma.data());
        plain.process({&sound[start], &sound[start] + kKeyBlock}, double{tuning});
        expectNear(chroma, plain.smoothed(), 1e-5, blocks);
        expectNear(smoothed(*analysis), plain::dividedBySum(plain.smoothed()), 1e-4, blocks);
        expectNear(mean(*analysis), plain::dividedBySum(plain.mean()), 1e-4, blocks);
    }
    EXPECT_EQ(blocks, 120U);
}

TEST(CKeyAnalysisV2, TheChromaOfEachBlockAgreesWithThePlainMethod)
{
    const auto sound = music();
    std::unique_ptr<CRealFFT_If> fft;
    ASSERT_EQ(CRealFFT_If::create(fft, 2 * kKeyBlock, 1, CRealFFT_If::kHann), eboKey::kOk);
    eboKey::LogSpectrum spectrum(std::move(fft));
    eboKey::NoteBins notes(48, spectrum.bins());
    plain::PlainChroma plain;
    std::vector<float> signal(kKeyBlock);
    signal.insert(signal.end(), sound.begin(), sound.end());
    float tuning = 436.0f;
    for (std::size_t start = 0; start + kKeyBlock <= sound.size(); start += kKeyBlock) {
        notes.update(tuning, kKeyRate, 2 * kKeyBlock);
        Chroma chroma;
        notes.fold(spectrum.compute(&signal[start], notes.range()), chroma.data());
        const auto expected = plain.process({&sound[start], &sound[start] + kKeyBlock}, double{tuning});
        expectNear(chroma, expected, 1e-4, start / kKeyBlock);
        tuning += 0.07f;
    }
}

TEST(CKeyAnalysisV2, TheTuningMovesTowardsTheMusicAndTheNotesWithIt)
{
    for (const double cents : {20.0, -20.0}) {
        const auto analysis = make();
        auto chord = keyTone(noteFrequency(3 + cents / 100), 15, 0.3);
        testsupport::add(chord, keyTone(noteFrequency(8 + cents / 100), 15, 0.3));
        Chroma chroma;
        float tuning = 440.0f;
        for (std::size_t start = 0; start + kKeyBlock <= chord.size(); start += kKeyBlock)
            tuning = analysis->process(&chord[start], kKeyBlock, chroma.data());
        EXPECT_NEAR(1200 * std::log2(double{tuning} / 440), cents, 1);
    }
}

TEST(CKeyAnalysisV2, AShortBlockCountsForTheSpectrumButItsRemainderNotForTheTuning)
{
    const auto tone = keyTone(noteFrequency(3.3), 1);
    const auto analysis = make();
    Chroma chroma;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(analysis->process(&tone[static_cast<std::size_t>(i) * 255], 255, chroma.data()), 440.0f);
    EXPECT_EQ(highest(chroma), 3);
    for (int i = 0; i < 10; ++i)
        analysis->process(&tone[static_cast<std::size_t>(i) * 256], 256, chroma.data());
    EXPECT_NE(analysis->process(tone.data(), 0, chroma.data()), 440.0f);
}

TEST(CKeyAnalysisV2, TheHugestSamplesLeaveEverythingFinite)
{
    const auto analysis = make();
    const Chroma chroma = processAll(*analysis, keyTone(440, 5, 1e15));
    EXPECT_EQ(highest(chroma), 0);
    for (const float value : chroma)
        EXPECT_TRUE(std::isfinite(value));
    for (const float value : mean(*analysis))
        EXPECT_TRUE(std::isfinite(value));
}

TEST(CKeyAnalysisV2, LagsFourSecondsBehind) { EXPECT_EQ(make()->getLatency(), 4.0f); }

TEST(CKeyAnalysisV2, UpdatingTheNotesByHandChangesNothing)
{
    const auto tone = keyTone(noteFrequency(5.2), 2);
    const auto analysis = make();
    const auto other = make();
    processAll(*analysis, tone);
    processAll(*other, tone);
    other->updateNoteBins();
    EXPECT_EQ(processAll(*other, tone), processAll(*analysis, tone));
}

TEST(CKeyAnalysisV2, RefusesWhatCannotBe)
{
    constexpr float kA = 440.0f;
    std::unique_ptr<CKeyAnalysisIf> analysis = make();
    EXPECT_EQ(CKeyAnalysisIf::create(analysis, 8192, 4096, 6, kA), 5000003) << "7040 Hz";
    EXPECT_EQ(analysis, nullptr);
    EXPECT_EQ(CKeyAnalysisIf::create(analysis, 8192, 4096, 5, kA), eboKey::kOk) << "3520 Hz";
    EXPECT_EQ(CKeyAnalysisIf::create(analysis, 7040, 4096, 5, kA), eboKey::kOk) << "just so";
    EXPECT_EQ(CKeyAnalysisIf::create(analysis, 7039, 4096, 5, kA), eboKey::kInvalidArgument);
    for (const int octaves : {-1, 25, 31, 63, 64, 1000, std::numeric_limits<int>::max()})
        EXPECT_EQ(CKeyAnalysisIf::create(analysis, 8192, 4096, octaves, kA), eboKey::kInvalidArgument);
    for (const int sampleRate : {0, -8192, std::numeric_limits<int>::min()})
        EXPECT_EQ(CKeyAnalysisIf::create(analysis, sampleRate, 4096, 0, kA), eboKey::kInvalidArgument);
    for (const int blockSize : {0, -4096, 4095, std::numeric_limits<int>::max()})
        EXPECT_EQ(CKeyAnalysisIf::create(analysis, 8192, blockSize, 4, kA), eboKey::kInvalidArgument);
    for (const float tuning :
         {0.0f, -440.0f, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()})
        EXPECT_EQ(CKeyAnalysisIf::create(analysis, 8192, 4096, 4, tuning), eboKey::kInvalidArgument);
}

TEST(CKeyAnalysisV2, WorksAtOtherRates)
{
    std::unique_ptr<CKeyAnalysisIf> analysis;
    ASSERT_EQ(CKeyAnalysisIf::create(analysis, 16384, 8192, 5, 440.0f), eboKey::kOk);
    EXPECT_EQ(analysis->getLatency(), 4.0f);
    ASSERT_EQ(CKeyAnalysisIf::create(analysis, 8192, 16, 4, 440.0f), eboKey::kOk)
        << "a block is a hop at least";
    EXPECT_EQ(analysis->getLatency(), 8.0f * 256 / 8192);
}

}  // namespace
