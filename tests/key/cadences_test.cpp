// Does the detector hear what a musician hears? Cadences in all 24 keys.

#include "key/CKeyDetect_If.h"
#include "key/keyLabel.h"
#include "synth/Cadence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

KeyResult keyOf(const synth::Cadence& parameters)
{
    const auto music = synth::cadence(parameters);
    CKeyDetect_If* detector = nullptr;
    EXPECT_EQ(CreateInstance(&detector, static_cast<int>(parameters.sampleRate), 1, 0, 0.0f), eboKey::kOk);
    const auto length = static_cast<int>(music.size());
    for (int first = 0; first < length; first += CKeyDetect_If::kLongestBlock) {
        const float* const channel = music.data() + first;
        EXPECT_EQ(detector->process(&channel, std::min(CKeyDetect_If::kLongestBlock, length - first)),
                  eboKey::kOk);
    }
    KeyResult result;
    EXPECT_EQ(detector->getKey(&result, nullptr, 0), eboKey::kOk);
    DestroyInstance(&detector);
    return result;
}

// Seconds per chord. An instrument that is out of tune needs time until the tuning has followed it.
constexpr double kTuned = 2.0;
constexpr double kOutOfTune = 4.0;

struct Case {
    bool minor;
    bool arpeggio;
    unsigned sampleRate;
    double cents;
};

class Cadences : public ::testing::TestWithParam<Case> {};

TEST_P(Cadences, AllTwelveKeysOfTheModeAreRecognised)
{
    for (int tonic = 0; tonic < 12; ++tonic) {
        const KeyResult result = keyOf({.tonic = tonic,
                                        .minor = GetParam().minor,
                                        .arpeggio = GetParam().arpeggio,
                                        .cents = GetParam().cents,
                                        .secondsPerChord = GetParam().cents == 0.0 ? kTuned : kOutOfTune,
                                        .sampleRate = GetParam().sampleRate});
        const int expected = tonic + (GetParam().minor ? 12 : 0);
        EXPECT_EQ(result.keyNumber, expected)
            << "heard " << result.keyText << " in " << eboKey::keyLabel(expected);
        EXPECT_STREQ(result.keyText, eboKey::keyLabel(expected));
        if (GetParam().cents > 0) {
            EXPECT_GT(result.tuningFrequency, 440.5f) << eboKey::keyLabel(expected);
        } else if (GetParam().cents < 0) {
            EXPECT_LT(result.tuningFrequency, 439.5f) << eboKey::keyLabel(expected);
        }
    }
}

std::vector<Case> allCases()
{
    std::vector<Case> cases;
    for (const bool minor : {false, true}) {
        for (const bool arpeggio : {false, true}) {
            for (const unsigned rate : {44100U, 48000U}) {
                for (const double cents : {0.0, 20.0, -20.0})
                    cases.push_back({minor, arpeggio, rate, cents});
            }
        }
    }
    return cases;
}

std::string nameOf(const ::testing::TestParamInfo<Case>& info)
{
    const Case& c = info.param;
    return std::string(c.minor ? "Minor" : "Major") + (c.arpeggio ? "Arpeggios" : "Chords") + "At" +
           std::to_string(c.sampleRate) +
           (c.cents == 0.0  ? ""
            : c.cents > 0.0 ? "TwentyCentsSharp"
                            : "TwentyCentsFlat");
}

INSTANTIATE_TEST_SUITE_P(AllKeys, Cadences, ::testing::ValuesIn(allCases()), nameOf);

}  // namespace
