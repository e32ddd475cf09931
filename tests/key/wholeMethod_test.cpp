// From blocks at 8192 Hz to the key, against the whole method written down plainly in double precision. The
// plain form is told the tuning of each block: that is the outcome of many decisions between up and down.

#include "key/CKeyAnalysisIf.h"
#include "key/CKeyDetect.h"
#include "key/CKeyPreProcess.h"
#include "key/CKeyRecognition.h"
#include "key/plain/PlainChroma.h"
#include "key/plain/PlainRecognition.h"
#include "synth/Cadence.h"
#include "synth/HouseLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

using eboKey::CKeyDetect;
using Block = std::vector<float>;

std::vector<Block> preProcessed(const std::vector<float>& music, int rate)
{
    std::unique_ptr<eboKey::CKeyPreProcess> preProcess;
    EXPECT_EQ(
        eboKey::CKeyPreProcess::create(preProcess, rate, CKeyDetect::kRate, 1, CKeyDetect::kLongestBlock, 0),
        eboKey::kOk);
    eboKey::CRingBuffer ring;
    std::vector<Block> blocks;
    const auto length = static_cast<int>(music.size());
    for (int first = 0; first < length; first += CKeyDetect::kLongestBlock) {
        const float* const channel = music.data() + first;
        int frames = std::min(CKeyDetect::kLongestBlock, length - first);
        preProcess->process(&channel, ring, &frames);
        while (ring.readable() >= CKeyDetect::kBlockSize) {
            blocks.emplace_back(CKeyDetect::kBlockSize);
            ring.take(blocks.back().data(), CKeyDetect::kBlockSize);
        }
    }
    return blocks;
}

struct Verdict {
    int key = -1;
    float strength = 0.0f;
    plain::PlainRecognition::Decision expected{};
};

/// Runs both forms side by side; whatever they have in common is compared.
Verdict compareOn(const std::vector<float>& music, int rate = 44100)
{
    std::unique_ptr<eboKey::CKeyAnalysisIf> analysis;
    EXPECT_EQ(eboKey::CKeyAnalysisIf::create(analysis, CKeyDetect::kRate, CKeyDetect::kBlockSize, 4, 440.0f),
              eboKey::kOk);
    eboKey::CKeyRecognition recognition;
    plain::PlainChroma plainChroma;
    plain::PlainRecognition plainRecognition;
    std::array<float, 12> chroma{};
    std::array<float, 24> scores{};
    int number = 0;
    for (const Block& block : preProcessed(music, rate)) {
        const float tuning = analysis->process(block.data(), CKeyDetect::kBlockSize, chroma.data());
        recognition.update(chroma.data(), 0);
        plainChroma.process(block, static_cast<double>(tuning));
        plainRecognition.update(plainChroma.smoothed());
        for (int set = 0; set < 4; ++set) {
            std::array<float, 12> copy = chroma;
            recognition.score(copy.data(), scores.data(), set);
            const auto expected =
                plainRecognition.score(plainChroma.smoothed(), static_cast<std::size_t>(set));
            for (std::size_t key = 0; key < scores.size(); ++key)
                EXPECT_NEAR(scores[key], expected[key], 1e-4)
                    << "block " << number << ", set " << set << ", key " << key;
        }
        ++number;
    }

    analysis->getMeanChroma(chroma.data());
    const plain::Chroma mean = plain::dividedBySum(plainChroma.mean());
    for (std::size_t i = 0; i < chroma.size(); ++i)
        EXPECT_NEAR(chroma[i], mean[i], 1e-4) << "mean chroma, pitch class " << i;
    recognition.update(chroma.data(), 1);
    plainRecognition.look(mean);

    std::array<int, 8> keys{};
    std::array<float, 8> strengths{};
    EXPECT_EQ(recognition.decide(keys.data(), strengths.data(), nullptr), eboKey::kOk);
    return {keys[0], strengths[0], plainRecognition.decide()};
}

TEST(WholeMethod, AgreesOnHouseMusic)
{
    const Verdict verdict = compareOn(synth::houseLoop({.seconds = 20}));
    EXPECT_EQ(verdict.key, verdict.expected.key);
    EXPECT_NEAR(verdict.strength, verdict.expected.strength, 0.02);
}

TEST(WholeMethod, AgreesOnCadences)
{
    for (const bool minor : {false, true}) {
        for (const bool arpeggio : {false, true}) {
            const Verdict verdict = compareOn(
                synth::cadence({.tonic = 6, .minor = minor, .arpeggio = arpeggio, .sampleRate = 48000}),
                48000);
            EXPECT_EQ(verdict.key, verdict.expected.key);
            EXPECT_NEAR(verdict.strength, verdict.expected.strength, 0.02);
        }
    }
}

// In eight seconds of a sharp instrument the tuning is still on its way for half of the time. The fifth
// partial of the tonic, naturally 14 cents flat of a major third, is then nearly in tune, and the notes
// themselves are not.
TEST(WholeMethod, ItselfTakesShortAndSharpMinorArpeggiosForMajor)
{
    int asMajor = 0;
    for (int tonic = 0; tonic < 12; ++tonic) {
        const Verdict verdict =
            compareOn(synth::cadence({.tonic = tonic, .minor = true, .arpeggio = true, .cents = 20}));
        EXPECT_EQ(verdict.key, verdict.expected.key) << "tonic " << tonic;
        asMajor += verdict.key == tonic ? 1 : 0;
    }
    EXPECT_GT(asMajor, 6);
}

}  // namespace
