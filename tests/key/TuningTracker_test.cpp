#include "key/TuningTracker.h"

#include "key/keyMusic.h"
#include "key/plain/PlainTuning.h"
#include "synth/HouseLoop.h"
#include "synth/signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using eboKey::TuningTracker;
using testsupport::keyTone;
using testsupport::kKeyRate;
using testsupport::noteFrequency;

constexpr std::size_t kHop = 256;
constexpr float kA = 440.0f;  // Hz

/// The tuning before the first and after each hop.
std::vector<float> track(TuningTracker& tracker, const std::vector<float>& music)
{
    std::vector<float> tunings{tracker.tuningFrequency()};
    for (std::size_t start = 0; start + kHop <= music.size(); start += kHop) {
        tracker.process(&music[start], kHop);
        tunings.push_back(tracker.tuningFrequency());
    }
    return tunings;
}

std::vector<float> track(const std::vector<float>& music)
{
    TuningTracker tracker(kKeyRate, kA);
    return track(tracker, music);
}

/// How much the tuning moves at each hop that moves it, as a share of it.
std::vector<double> moves(const std::vector<float>& tunings)
{
    std::vector<double> steps;
    for (std::size_t i = 1; i < tunings.size(); ++i)
        if (tunings[i] != tunings[i - 1])
            steps.push_back((double{tunings[i]} - double{tunings[i - 1]}) / double{tunings[i - 1]});
    return steps;
}

TEST(TuningTracker, AHopIsTwoPeriodsOfTheLowestNoteInAPowerOfTwo)
{
    EXPECT_EQ(TuningTracker::hopSize(8192), 256);    // 74.5 samples to a period
    EXPECT_EQ(TuningTracker::hopSize(44100), 1024);  // 400.9
    EXPECT_EQ(TuningTracker::hopSize(7040), 128);    // 64 is a power of two
    EXPECT_EQ(TuningTracker::hopSize(7200), 256);    // 65
    EXPECT_EQ(TuningTracker(8192, kA).hopSize(), 256);
}

TEST(TuningTracker, StaysInSilence) { EXPECT_TRUE(moves(track(std::vector<float>(kKeyRate * 5))).empty()); }

TEST(TuningTracker, AToneAtTheTuningMovesItAtMostUntilItHasSettled)
{
    // At the onset, which has all frequencies, the neighbours do not yet balance: the tuning gives a few tens
    // of a millionth semitone. Then it stands.
    const auto tunings = track(keyTone(440, 30));
    for (const float tuning : tunings)
        ASSERT_NEAR(tuning, kA, 0.001f);
    for (std::size_t hop = 8; hop < tunings.size(); ++hop)
        ASSERT_EQ(tunings[hop], tunings[8]) << "hop " << hop;
}

TEST(TuningTracker, TheLowerOctaveOfTonesInTuneStaysWithinAHundredthOfACent)
{
    for (int note = 0; note <= 21; ++note) {
        if (note == 11)
            continue;  // whose balance lies at the very edge of the dead zone
        const auto tunings = track(keyTone(noteFrequency(note), 20));
        EXPECT_NEAR(1200 * std::log2(double{tunings.back()} / 440), 0, 0.01) << "note " << note;
    }
}

TEST(TuningTracker, MovesToTonesThatAreSharpOrFlatInEveryPitchClass)
{
    for (int note = 0; note < 12; ++note) {
        for (const double cents : {20.0, -20.0}) {
            const auto tunings = track(keyTone(noteFrequency(note + cents / 100), 20));
            const double reached = 1200 * std::log2(double{tunings.back()} / 440);
            EXPECT_NEAR(reached, cents, 1) << "note " << note;
            const double early = double{tunings[40]} - 440;
            EXPECT_GT(early * cents, 0) << "note " << note;
        }
    }
}

TEST(TuningTracker, TheFirstStepIsAMillionthPerThousandSamplesAndEachFurtherATenthMore)
{
    // A sharp chord; its first step counts as a change of sides, by which the rate of 2e-6 halves.
    auto chord = keyTone(noteFrequency(0.3), 3);
    testsupport::add(chord, keyTone(noteFrequency(7.3), 3));
    testsupport::add(chord, keyTone(noteFrequency(16.3), 3));
    const auto steps = moves(track(chord));
    ASSERT_GT(steps.size(), 60U);
    constexpr double kRounding = 7e-8;  // of the tuning as a float
    EXPECT_NEAR(std::abs(steps[0]), 1e-6 * kHop / 1000, kRounding);

    std::size_t grown = 0;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        if (std::abs(steps[i - 1]) < 5e-6)
            continue;
        const double expected = steps[i] * steps[i - 1] > 0 ? std::min(std::abs(steps[i - 1]) * 1.1, 2.56e-4)
                                                            : std::abs(steps[i - 1]) * 0.5;
        EXPECT_NEAR(std::abs(steps[i]), expected, 2 * kRounding) << "step " << i;
        ++grown;
    }
    EXPECT_GT(grown, 10U);
}

TEST(TuningTracker, AChangeOfSidesHalvesTheStep)
{
    TuningTracker tracker(kKeyRate, kA);
    const auto up = moves(track(tracker, keyTone(noteFrequency(9.3), 2)));
    const auto down = moves(track(tracker, keyTone(noteFrequency(8.6), 2)));
    ASSERT_GT(up.size(), 40U);
    auto all = up;
    all.insert(all.end(), down.begin(), down.end());
    int changes = 0;
    for (std::size_t i = up.size(); i < all.size(); ++i) {
        if (all[i] * all[i - 1] < 0 && std::abs(all[i - 1]) > 5e-6) {
            EXPECT_NEAR(std::abs(all[i]), std::abs(all[i - 1]) / 2, 1.5e-7) << "step " << i;
            ++changes;
        }
    }
    EXPECT_GT(changes, 0);
}

TEST(TuningTracker, TheStepGrowsToAThousandthPerThousandSamplesAtMost)
{
    // A tone above all resonators pulls upwards for as long as it stays above.
    const auto steps = moves(track(keyTone(1500, 30)));
    double largest = 0;
    for (const double step : steps)
        largest = std::max(largest, step);
    EXPECT_NEAR(largest, 0.001 * kHop / 1000, 1e-7);
}

TEST(TuningTracker, HasTheDirectionsOfThePlainMethodInDoublePrecision)
{
    // Harmonies a third of a semitone sharp, then the same flat, over drums.
    auto music = synth::houseLoop({.seconds = 40, .sampleRate = kKeyRate});
    for (const double semitones : {0.33, 4.33, 7.33, 12.33, 16.33})
        testsupport::add(music, keyTone(noteFrequency(semitones), 20, 0.2));
    std::vector<float> flat(20U * kKeyRate);
    for (const double semitones : {1.7, 4.7, 8.7, 13.7, 20.7})
        testsupport::add(flat, keyTone(noteFrequency(semitones), 20, 0.3));
    for (std::size_t i = 0; i < flat.size(); ++i)
        music[flat.size() + i] += flat[i];

    TuningTracker tracker(kKeyRate, kA);
    plain::PlainTuning plain(440);
    double rate = 256e-6 / 128;
    double lastDirection = 0;
    int ups = 0;
    int downs = 0;
    int stays = 0;
    for (std::size_t start = 0; start + kHop <= music.size(); start += kHop) {
        const double before = double{tracker.tuningFrequency()};
        tracker.process(&music[start], kHop);
        const double after = double{tracker.tuningFrequency()};
        const double moved = after > before ? 1 : after < before ? -1 : 0;
        ups += moved > 0 ? 1 : 0;
        downs += moved < 0 ? 1 : 0;
        stays += moved == 0 ? 1 : 0;

        const double d = plain.listen(&music[start]);
        plain.design(after);
        double direction = moved;  // where the plain method is too close to the edge of the dead zone to tell
        if (std::abs(std::abs(d) - 0.005) > 1e-5)
            direction = std::abs(d) < 0.005 ? 0 : std::copysign(1, d);
        if (direction != 0) {
            rate = direction == lastDirection ? std::min(rate * 1.1, 1e-3) : std::max(rate * 0.5, 1e-9);
            lastDirection = direction;
        }
        const double step = before * rate * 0.001 * kHop * direction;
        // The factor and the tuning are floats, at 440 Hz no nearer together than 5.2e-5 Hz and 3.1e-5 Hz.
        ASSERT_NEAR(after - before, step, 4.3e-5 + 1e-3 * std::abs(step)) << "at " << start << " d " << d;
    }
    EXPECT_GT(ups, 50);
    EXPECT_GT(downs, 50);
    EXPECT_GT(stays, 50);
}

TEST(TuningTracker, HearsWholeHopsOnly)
{
    const auto tone = keyTone(noteFrequency(0.3), 1);
    TuningTracker tracker(kKeyRate, kA);
    for (std::size_t start = 0; start + 255 <= tone.size(); start += 255)
        tracker.process(&tone[start], 255);
    EXPECT_EQ(tracker.tuningFrequency(), kA);

    TuningTracker remainder(kKeyRate, kA);
    TuningTracker whole(kKeyRate, kA);
    for (std::size_t start = 0; start + 700 <= tone.size(); start += 700) {
        remainder.process(&tone[start], 700);
        whole.process(&tone[start], 512);
    }
    EXPECT_EQ(remainder.tuningFrequency(), whole.tuningFrequency());
    EXPECT_NE(whole.tuningFrequency(), kA);
}

TEST(TuningTracker, LeavesTheTuningIfTheMeasureIsNotANumber)
{
    TuningTracker tracker(kKeyRate, kA);
    std::vector<float> broken(kHop, std::numeric_limits<float>::quiet_NaN());
    tracker.process(broken.data(), kHop);
    const auto tone = keyTone(noteFrequency(0.3), 1);
    tracker.process(tone.data(), static_cast<int>(tone.size()));
    EXPECT_EQ(tracker.tuningFrequency(), kA);
}

TEST(TuningTracker, StaysANumberWhereverItStarts)
{
    const auto music = synth::noise({.seconds = 2, .sampleRate = kKeyRate, .amplitude = 1e15});
    for (const float tuning : {1e-38f, 1.0f, 5000.0f, 1e6f, 1e9f}) {
        TuningTracker tracker(kKeyRate, tuning);
        tracker.process(music.data(), static_cast<int>(music.size()));
        EXPECT_TRUE(std::isfinite(tracker.tuningFrequency())) << tuning;
        EXPECT_NEAR(tracker.tuningFrequency() / tuning, 1, 0.05) << tuning;
    }
}

}  // namespace
