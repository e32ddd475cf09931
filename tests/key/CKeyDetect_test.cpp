#include "key/CKeyDetect.h"

#include "key/CKeyDetectResult.h"
#include "synth/Cadence.h"
#include "synth/signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using eboKey::CKeyDetectResult;
using Profile = std::array<float, 12>;

struct Destroy {
    void operator()(CKeyDetect_If* detector) const { DestroyInstance(&detector); }
};
using Detector = std::unique_ptr<CKeyDetect_If, Destroy>;

Detector makeDetector(int sampleRate = 44100, int channels = 1, float tuning = 0.0f, int flag = 0)
{
    CKeyDetect_If* detector = nullptr;
    EXPECT_EQ(CreateInstance(&detector, sampleRate, channels, flag, tuning), eboKey::kOk);
    return Detector(detector);
}

void feed(CKeyDetect_If& detector, const std::vector<float>& mono, int blockSize = 16384)
{
    const auto length = static_cast<int>(mono.size());
    for (int first = 0; first < length; first += blockSize) {
        const float* const channel = mono.data() + first;
        ASSERT_EQ(detector.process(&channel, std::min(blockSize, length - first)), eboKey::kOk);
    }
}

KeyResult keyOf(CKeyDetect_If& detector)
{
    KeyResult result;
    std::memset(&result, 0x55, sizeof(result));
    EXPECT_EQ(detector.getKey(&result, nullptr, 0), eboKey::kOk);
    return result;
}

/// Equal in every byte.
::testing::AssertionResult same(const KeyResult& a, const KeyResult& b)
{
    using Bytes = std::array<char, sizeof(KeyResult)>;
    if (std::bit_cast<Bytes>(a) == std::bit_cast<Bytes>(b))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << a.keyText << " " << a.strength << " at " << a.tuningFrequency << " Hz is not " << b.keyText
           << " " << b.strength << " at " << b.tuningFrequency << " Hz";
}

/// Writes down what it is told, in order.
class Notes : public CKeyDetectResult {
public:
    std::vector<std::string> order;
    std::vector<KeyEntry> entries;
    std::int32_t key = -2;
    std::int32_t secondKey = -2;
    std::int32_t count = -1;
    float tuning = 0.0f;
    Profile smoothed{};
    Profile mean{};

    void setKey(std::int32_t number, float /*strength*/) override { note("key", key = number); }
    void setSecondKey(std::int32_t number, float /*strength*/) override
    {
        note("second", secondKey = number);
    }
    void setChroma(const float* smoothed12, const float* mean12) override
    {
        note("chroma", 0);
        std::copy_n(smoothed12, 12, smoothed.begin());
        std::copy_n(mean12, 12, mean.begin());
    }
    void setTuningFrequency(float hertz) override
    {
        note("tuning", 0);
        tuning = hertz;
    }
    void setKeyCount(std::int32_t number) override { note("count", count = number); }
    void addKey(const KeyEntry& entry) override
    {
        note("entry", entry.key);
        entries.push_back(entry);
    }

private:
    void note(const char* what, int /*value*/) { order.emplace_back(what); }
};

Notes notesOf(CKeyDetect_If& detector)
{
    Notes notes;
    EXPECT_EQ(detector.getResult(&notes), eboKey::kOk);
    return notes;
}

TEST(CKeyDetect, RefusesRatesBelow8192)
{
    CKeyDetect_If* detector = makeDetector().release();
    CKeyDetect_If* const old = detector;
    EXPECT_EQ(CreateInstance(&detector, 8191, 1, 0, 0.0f), eboKey::kSampleRateTooLow);
    EXPECT_EQ(detector, nullptr);
    EXPECT_NE(makeDetector(8192), nullptr);
    delete old;
}

TEST(CKeyDetect, RefusesToMakeWhatCannotBe)
{
    CKeyDetect_If* detector = nullptr;
    EXPECT_EQ(CreateInstance(nullptr, 44100, 1, 0, 0.0f), eboKey::kInvalidArgument);
    EXPECT_EQ(CreateInstance(&detector, 44100, 0, 0, 0.0f), eboKey::kInvalidArgument);
    EXPECT_EQ(CreateInstance(&detector, 2000000000, 1, 0, 0.0f), eboKey::kInvalidArgument);
    EXPECT_EQ(detector, nullptr);
}

TEST(CKeyDetect, DestroyingClearsThePointerAndRefusesNull)
{
    CKeyDetect_If* detector = makeDetector().release();
    EXPECT_EQ(DestroyInstance(&detector), eboKey::kOk);
    EXPECT_EQ(detector, nullptr);
    EXPECT_EQ(DestroyInstance(&detector), eboKey::kInvalidArgument);
    EXPECT_EQ(DestroyInstance(nullptr), eboKey::kInvalidArgument);
}

TEST(CKeyDetect, RefusesBlocksOutsideOneTo16384AndConsumesNothing)
{
    const auto music = synth::cadence({.tonic = 2});
    const auto careful = makeDetector();
    const auto careless = makeDetector();
    const std::vector<float> tooMuch(16385, 0.5f);
    const float* const channel = tooMuch.data();
    const float* const* const nothing = nullptr;
    feed(*careful, music);
    for (const int frames : {0, 16385, -1}) {
        EXPECT_EQ(careless->process(&channel, frames), eboKey::kInvalidArgument);
        EXPECT_EQ(careless->process(channel, frames), eboKey::kInvalidArgument);
    }
    EXPECT_EQ(careless->process(nothing, 100), eboKey::kInvalidArgument);
    EXPECT_EQ(careless->process(static_cast<const float*>(nullptr), 100), eboKey::kInvalidArgument);
    feed(*careless, music);
    EXPECT_TRUE(same(keyOf(*careful), keyOf(*careless)));
}

TEST(CKeyDetect, RefusesToAnswerIntoNothing)
{
    const auto detector = makeDetector();
    EXPECT_EQ(detector->getKey(nullptr, nullptr, 0), eboKey::kInvalidArgument);
    EXPECT_EQ(detector->getRunningKey(nullptr, nullptr), eboKey::kInvalidArgument);
    EXPECT_EQ(detector->getResult(nullptr), eboKey::kInvalidArgument);
}

TEST(CKeyDetect, ATuningOf400OrLessCountsAsNotGiven)
{
    EXPECT_EQ(keyOf(*makeDetector(44100, 1, 0.0f)).tuningFrequency, 440.0f);
    EXPECT_EQ(keyOf(*makeDetector(44100, 1, 400.0f)).tuningFrequency, 440.0f);
    EXPECT_EQ(keyOf(*makeDetector(44100, 1, 400.5f)).tuningFrequency, 400.5f);
}

TEST(CKeyDetect, ATrackOfLessThanHalfASecondHasNoKey)
{
    const auto detector = makeDetector();
    feed(*detector, synth::sine({.frequency = 440, .seconds = 0.49}));
    const KeyResult result = keyOf(*detector);
    EXPECT_STREQ(result.keyText, "-");
    EXPECT_EQ(result.keyNumber, -1);
    EXPECT_EQ(result.strength, 0.0f);
}

TEST(CKeyDetect, SilenceIsAMinorWithoutStrength)
{
    const auto detector = makeDetector();
    feed(*detector, synth::silence(5));
    const KeyResult result = keyOf(*detector);
    EXPECT_STREQ(result.keyText, "A:min");
    EXPECT_EQ(result.keyNumber, 12);
    EXPECT_EQ(result.strength, 0.0f);
    const Notes notes = notesOf(*detector);
    EXPECT_THAT(notes.smoothed, ::testing::Each(0.0f));
    EXPECT_THAT(notes.mean, ::testing::Each(0.0f));
}

TEST(CKeyDetect, ABlockSizeMakesNoDifference)
{
    const auto music = synth::cadence({.tonic = 7, .minor = true, .secondsPerChord = 0.6});
    const auto reference = makeDetector();
    feed(*reference, music);
    for (const int blockSize : {1, 7, 4096, 16383}) {
        const auto detector = makeDetector();
        feed(*detector, music, blockSize);
        EXPECT_TRUE(same(keyOf(*reference), keyOf(*detector))) << blockSize << " frames";
        EXPECT_EQ(notesOf(*reference).count, notesOf(*detector).count);
    }
}

TEST(CKeyDetect, NoSampleIsLostWhereABlockFillsTheRing)
{
    // At 8192 and 10900 Hz a block of 16384 frames is more than the ring has room for.
    for (const unsigned rate : {8192U, 10900U}) {
        const auto music = synth::cadence({.tonic = 4, .sampleRate = rate});
        const auto whole = makeDetector(static_cast<int>(rate));
        const auto pieces = makeDetector(static_cast<int>(rate));
        feed(*whole, music);
        feed(*pieces, music, 1000);
        EXPECT_EQ(notesOf(*whole).count, 15) << "8 seconds at 2 blocks a second, less the resampler's wing";
        EXPECT_EQ(notesOf(*pieces).count, 15);
        EXPECT_TRUE(same(keyOf(*whole), keyOf(*pieces))) << rate << " Hz";
    }
}

TEST(CKeyDetect, LeavesItsInputAsItIs)
{
    auto music = synth::cadence({});
    const auto before = synth::cadence({});
    feed(*makeDetector(), music);
    EXPECT_EQ(music, before);
}

TEST(CKeyDetect, AddsChannelsUp)
{
    const auto music = synth::cadence({.tonic = 10});
    std::vector<float> left(music);
    std::vector<float> right(music.size());
    for (std::size_t i = 0; i < music.size(); ++i) {
        left[i] = music[i] * 0.75f;  // quarters add up without rounding
        right[i] = music[i] * 0.25f;
    }
    std::vector<float> interleaved(2 * music.size());
    std::vector<float> sum(music.size());
    for (std::size_t i = 0; i < music.size(); ++i) {
        interleaved[2 * i] = left[i];
        interleaved[2 * i + 1] = right[i];
        sum[i] = left[i] + right[i];
    }

    const auto mono = makeDetector();
    const auto planar = makeDetector(44100, 2);
    const auto packed = makeDetector(44100, 2);
    feed(*mono, sum);
    for (std::size_t first = 0; first < music.size(); first += 10000) {
        const int frames = static_cast<int>(std::min<std::size_t>(10000, music.size() - first));
        const std::array<const float*, 2> channels{left.data() + first, right.data() + first};
        EXPECT_EQ(planar->process(channels.data(), frames), eboKey::kOk);
        EXPECT_EQ(packed->process(interleaved.data() + 2 * first, frames), eboKey::kOk);
    }
    EXPECT_TRUE(same(keyOf(*mono), keyOf(*planar)));
    EXPECT_TRUE(same(keyOf(*mono), keyOf(*packed)));
}

TEST(CKeyDetect, AskingForTheKeyChangesNothing)
{
    const auto music = synth::cadence({.tonic = 1, .minor = true});
    const auto quiet = makeDetector();
    const auto asked = makeDetector();
    const std::vector<float> firstHalf(music.begin(), music.begin() + 176400);
    const std::vector<float> secondHalf(music.begin() + 176400, music.end());
    feed(*quiet, firstHalf);
    feed(*asked, firstHalf);

    KeyResult before;
    KeyResult after;
    ASSERT_EQ(asked->getRunningKey(&before, nullptr), eboKey::kOk);
    EXPECT_TRUE(same(keyOf(*asked), keyOf(*asked)));
    ASSERT_EQ(asked->getRunningKey(&after, nullptr), eboKey::kOk);
    EXPECT_TRUE(same(before, after)) << "the running key is that of the last block again";

    feed(*quiet, secondHalf);
    feed(*asked, secondHalf);
    EXPECT_TRUE(same(keyOf(*quiet), keyOf(*asked)));
}

TEST(CKeyDetect, GivesTheChromaAsProfile)
{
    const auto detector = makeDetector();
    feed(*detector, synth::sine({.frequency = 440, .seconds = 10, .amplitude = 0.5}));
    KeyResult result;
    Profile running{};
    Profile whole{};
    ASSERT_EQ(detector->getRunningKey(&result, running.data()), eboKey::kOk);
    ASSERT_EQ(detector->getKey(&result, whole.data(), 0), eboKey::kOk);
    for (const Profile& profile : {running, whole}) {
        EXPECT_GT(profile[0], 0.99f) << "a pure A sounds in no other pitch class";
        EXPECT_NEAR(std::accumulate(profile.begin(), profile.end(), 0.0f), 1.0f, 1e-5f);
    }
}

TEST(CKeyDetect, APureAIsInAAndKeepsTheTuning)
{
    const auto detector = makeDetector();
    feed(*detector, synth::sine({.frequency = 440, .seconds = 10, .amplitude = 0.5}));
    const KeyResult result = keyOf(*detector);
    EXPECT_STREQ(result.keyText, "A:maj");
    EXPECT_NEAR(result.tuningFrequency, 440.0f, 0.1f);
}

TEST(CKeyDetect, TheRunningKeyFollowsAChangeOfKey)
{
    // The last chord, the tonic, lasts for the 7.5 seconds that the running key looks back on.
    const auto detector = makeDetector();
    feed(*detector, synth::cadence({.tonic = 3, .secondsPerChord = 8}));
    KeyResult first;
    ASSERT_EQ(detector->getRunningKey(&first, nullptr), eboKey::kOk);
    EXPECT_STREQ(first.keyText, "C:maj");
    feed(*detector, synth::cadence({.tonic = 9, .secondsPerChord = 8}));
    KeyResult second;
    ASSERT_EQ(detector->getRunningKey(&second, nullptr), eboKey::kOk);
    EXPECT_STREQ(second.keyText, "F#:maj");
}

TEST(CKeyDetect, HandsOverItsLogInOrder)
{
    const auto detector = makeDetector();
    feed(*detector, synth::cadence({.tonic = 3}));
    const Notes notes = notesOf(*detector);
    // 8 seconds are 16 blocks, of which the last lacks what the resampler still waits for.
    ASSERT_EQ(notes.count, 15);
    std::vector<std::string> expected{"key", "second", "chroma", "tuning", "count"};
    expected.insert(expected.end(), 15, "entry");
    EXPECT_EQ(notes.order, expected);
    for (std::size_t i = 0; i < notes.entries.size(); ++i)
        EXPECT_FLOAT_EQ(notes.entries[i].time, 0.5f * static_cast<float>(i) - 4.0f);
    EXPECT_EQ(notes.key, notes.entries.back().key);
    EXPECT_EQ(notes.key, 3);
    EXPECT_NEAR(notes.tuning, 440.0f, 3.0f);
}

TEST(CKeyDetect, LogsMoreBlocksThanItHadRoomFor)
{
    const auto detector = makeDetector(8192);
    feed(*detector, std::vector<float>(4096 * 130));
    EXPECT_EQ(notesOf(*detector).entries.size(), 129U);
}

TEST(CKeyDetect, TheSecondKeyIsTheCircleOfFifths)
{
    const auto detector = makeDetector();
    feed(*detector, synth::cadence({.tonic = 10, .secondsPerChord = 4}));
    const KeyResult result = keyOf(*detector);
    EXPECT_STREQ(result.secondKeyText, "G:maj");
    EXPECT_EQ(result.secondKeyNumber, 10);
    EXPECT_GT(result.secondStrength, 0.5f);
    EXPECT_LE(result.secondStrength, 1.0f);
}

TEST(CKeyDetect, TheFastResamplerServesToo)
{
    const auto detector = makeDetector(44100, 1, 0.0f, 1);
    feed(*detector, synth::cadence({.tonic = 3}));
    EXPECT_STREQ(keyOf(*detector).keyText, "C:maj");
}

TEST(CKeyDetect, HugeSamplesDoNoLastingHarm)
{
    const auto detector = makeDetector();
    feed(*detector, std::vector<float>(44100, 1e38f));
    feed(*detector, synth::cadence({.tonic = 3, .secondsPerChord = 8}));
    const KeyResult result = keyOf(*detector);
    EXPECT_STREQ(result.keyText, "C:maj");
    EXPECT_TRUE(std::isfinite(result.strength));
    EXPECT_TRUE(std::isfinite(result.tuningFrequency));
}

}  // namespace
