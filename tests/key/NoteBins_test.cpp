#include "key/NoteBins.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using eboKey::NoteBins;

constexpr int kRate = 8192;    // Hz; one bin is 1 Hz
constexpr int kLength = 8192;  // samples
constexpr int kBins = 4096;
constexpr int kNotes = 48;

using Chroma = std::array<float, NoteBins::kPitchClasses>;

NoteBins fourOctaves(float tuningFrequency = 440.0f)
{
    NoteBins notes(kNotes, kBins);
    notes.update(tuningFrequency, kRate, kLength);
    return notes;
}

Chroma fold(const NoteBins& notes, std::vector<float> spectrum)
{
    Chroma chroma{};
    notes.fold(spectrum.data(), chroma.data());
    return chroma;
}

std::vector<float> spectrumWith(std::initializer_list<std::pair<int, float>> values)
{
    std::vector<float> spectrum(kBins);
    for (const auto& [bin, value] : values)
        spectrum[static_cast<std::size_t>(bin)] = value;
    return spectrum;
}

double centre(int note) { return 110 * std::exp2(note / 12.0); }
int bin(double position) { return static_cast<int>(std::lround(position)); }

TEST(NoteBins, ASinglePeakBelongsToThePitchClassOfItsNote)
{
    const NoteBins notes = fourOctaves();
    for (int note = 0; note < kNotes; ++note) {
        const Chroma chroma = fold(notes, spectrumWith({{bin(centre(note)), 2.0f}}));
        for (int i = 0; i < NoteBins::kPitchClasses; ++i)
            EXPECT_EQ(chroma[static_cast<std::size_t>(i)], i == note % 12 ? 1.0f : 0.0f) << "note " << note;
    }
}

TEST(NoteBins, AnEmptySpectrumHasNoChroma)
{
    EXPECT_EQ(fold(fourOctaves(), std::vector<float>(kBins)), Chroma{});
}

TEST(NoteBins, ThePeaksOfAllOctavesAddUp)
{
    // The A's of 110, 220 and 440 Hz stand on whole bins, the E of 164.8 Hz next to one.
    const Chroma chroma =
        fold(fourOctaves(), spectrumWith({{110, 1.0f}, {220, 2.0f}, {440, 3.0f}, {165, 2.0f}}));
    const double high = centre(7) * 1.0293022;
    const double e = 2 * (high - 165) / (high - centre(7));
    EXPECT_NEAR(double{chroma[0]}, 6 / (6 + e), 1e-5);
    EXPECT_NEAR(double{chroma[7]}, e / (6 + e), 1e-5);
}

TEST(NoteBins, ATriangleWeighsWhatIsOffTheNote)
{
    // Up to a quarter tone from 440 Hz the weight falls to 0 at both sides.
    const double low = 440 / 1.0293022;
    const double high = 440 * 1.0293022;
    for (const int position : {428, 430, 436, 440, 444, 450, 452}) {
        const Chroma chroma = fold(fourOctaves(), spectrumWith({{position, 1.0f}, {587, 1.0f}}));
        const double a = position <= 440 ? (position - low) / (440 - low) : (high - position) / (high - 440);
        const double d = (587 - centre(29) / 1.0293022) / (centre(29) - centre(29) / 1.0293022);
        EXPECT_NEAR(double{chroma[0]}, a / (a + d), 1e-4) << "bin " << position;
    }
}

TEST(NoteBins, ASlopeThatRisesOutOfTheWindowIsNoPeak)
{
    // The window of 440 Hz is 427.5 to 452.9: bins 428 to 452. What stands just outside belongs to the
    // neighbours, as an end of their windows.
    EXPECT_EQ(fold(fourOctaves(), spectrumWith({{452, 1.0f}, {110, 1.0f}}))[1], 0.0f);
    const Chroma above = fold(fourOctaves(), spectrumWith({{452, 1.0f}, {453, 10.0f}, {880, 1.0f}}));
    const Chroma without = fold(fourOctaves(), spectrumWith({{453, 10.0f}, {880, 1.0f}}));
    EXPECT_NEAR(double{above[0]}, double{without[0]}, 1e-6) << "453 is greater than 452";

    const Chroma below = fold(fourOctaves(), spectrumWith({{428, 1.0f}, {427, 100.0f}, {880, 1.0f}}));
    const Chroma alone = fold(fourOctaves(), spectrumWith({{427, 100.0f}, {880, 1.0f}}));
    EXPECT_NEAR(double{below[0]}, double{alone[0]}, 1e-6) << "427 is greater than 428";
}

TEST(NoteBins, TheNeighbourBelowHasBeenWeighedAndTheOneAboveHasNot)
{
    const double low = 440 / 1.0293022;
    const double high = 440 * 1.0293022;
    const double highBelow = centre(23) * 1.0293022;
    const double lowAbove = centre(25) / 1.0293022;

    // At the lower end: a neighbour that is greater only before its own note's triangle does not count.
    const double weight428 = (428 - low) / (440 - low);
    const double weight427 = (highBelow - 427) / (highBelow - centre(23));
    ASSERT_LT(weight427, weight428);
    const auto middle = static_cast<float>(std::sqrt(weight428 / weight427));
    const Chroma below = fold(fourOctaves(), spectrumWith({{428, 1.0f}, {427, middle}}));
    ASSERT_GT(double{middle}, weight428) << "greater when not weighed";
    ASSERT_LT(double{middle} * weight427, weight428) << "and not when it is";
    EXPECT_GT(below[0], 0.0f);

    // At the upper end it does.
    const double weight452 = (high - 452) / (high - 440);
    const double weight453 = (453 - lowAbove) / (centre(25) - lowAbove);
    const auto value = static_cast<float>(weight452 * 2);
    ASSERT_LT(double{value} * weight453, weight452);
    const Chroma above = fold(fourOctaves(), spectrumWith({{452, 1.0f}, {453, value}}));
    EXPECT_EQ(above[0], 0.0f);
}

TEST(NoteBins, FollowTheTuning)
{
    const NoteBins sharp = fourOctaves(452.0f);
    EXPECT_EQ(fold(sharp, spectrumWith({{452, 1.0f}}))[0], 1.0f);
    EXPECT_EQ(fold(sharp, spectrumWith({{438, 1.0f}}))[11], 1.0f) << "nearer to the semitone below";
}

TEST(NoteBins, OnlyTheRangeMatters)
{
    const NoteBins notes = fourOctaves();
    const NoteBins::Range range = notes.range();
    EXPECT_EQ(range.first, 106) << "the window of 110 Hz begins above 106.87";
    EXPECT_EQ(range.end, 1711) << "that of the highest note, 1661.2 Hz, ends below 1709.9";
    std::vector<float> spectrum = spectrumWith({{110, 1.0f}, {600, 2.0f}});
    const Chroma expected = fold(notes, spectrum);
    for (int i = 0; i < kBins; ++i)
        if (i < range.first || i >= range.end)
            spectrum[static_cast<std::size_t>(i)] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(fold(notes, spectrum), expected);
}

TEST(NoteBins, ANoteWhoseWindowLeavesTheSpectrumAddsNothing)
{
    // From 1200 Hz the highest of 48 notes stands at 4530 Hz, above the last bin; the 45th stands at 3810 Hz.
    const NoteBins notes = fourOctaves(1200.0f);
    const std::vector<float> flat(kBins, 1.0f);
    const Chroma chroma = fold(notes, flat);
    const double inside = 300 * std::exp2(44 / 12.0);
    ASSERT_LT(inside * 1.03, kBins);
    EXPECT_NEAR(double{chroma[44 % 12]} * 45, 4, 0.2) << "four octaves of this class";
    EXPECT_NEAR(double{chroma[45 % 12]} * 45, 3, 0.2) << "three of the one whose fourth is outside";
    EXPECT_LE(notes.range().end, kBins);
}

TEST(NoteBins, ATuningBeyondAllSenseFindsNothingAndReadsNothing)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float none = std::numeric_limits<float>::quiet_NaN();
    for (const float tuning : {0.0f, 1e-40f, 1e-3f, 1.0f, 1e5f, 1e9f, 3e38f, infinity, none, -440.0f}) {
        const NoteBins notes = fourOctaves(tuning);
        EXPECT_GE(notes.range().first, 0) << tuning;
        EXPECT_LE(notes.range().first, notes.range().end) << tuning;
        EXPECT_LE(notes.range().end, kBins) << tuning;
        const Chroma chroma = fold(notes, std::vector<float>(kBins, 1.0f));
        for (const float value : chroma)
            EXPECT_TRUE(value >= 0.0f && value <= 1.0f) << tuning;
        if (!(tuning >= 1.0f && tuning < 1e5f)) {
            EXPECT_EQ(chroma, Chroma{}) << tuning;
        }
    }
}

TEST(NoteBins, AWindowWithoutABinAddsNothing)
{
    // A tuning of 8 Hz puts the notes at 2, 2.12, 2.24 ... bins: only the first has a bin within its window.
    NoteBins notes(5, kBins);
    notes.update(8.0f, kRate, kLength);
    EXPECT_EQ(fold(notes, std::vector<float>(kBins, 1.0f)), (Chroma{1.0f}));
}

}  // namespace
