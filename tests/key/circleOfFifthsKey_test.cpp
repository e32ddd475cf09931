#include "key/circleOfFifthsKey.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using eboKey::circleOfFifthsKey;
using Sums = std::array<double, 24>;

// Semitones from A.
constexpr int kC = 3;
constexpr int kG = 10;
constexpr int kF = 8;
constexpr int kEMinor = 12 + 7;
constexpr int kAMinor = 12;
constexpr int kDMinor = 12 + 5;

Sums sumsOf(std::initializer_list<std::pair<int, double>> entries)
{
    Sums sums{};
    for (const auto& [key, sum] : entries)
        sums[static_cast<std::size_t>(key)] = sum;
    return sums;
}

TEST(CircleOfFifthsKey, OneMajorKeyAloneIsFoundWithFullStrength)
{
    for (int key = 0; key < 12; ++key) {
        const auto estimate = circleOfFifthsKey(sumsOf({{key, 2.5}}));
        EXPECT_EQ(estimate.key, key);
        EXPECT_NEAR(estimate.strength, 1.0, 1e-6);
    }
}

TEST(CircleOfFifthsKey, OneMinorKeyAloneIsFoundWithFullStrength)
{
    for (int key = 12; key < 24; ++key) {
        const auto estimate = circleOfFifthsKey(sumsOf({{key, 0.5}}));
        EXPECT_EQ(estimate.key, key);
        EXPECT_NEAR(estimate.strength, 1.0, 1e-6);
    }
}

TEST(CircleOfFifthsKey, KeysAFifthToEachSideBalanceOnTheirMiddle)
{
    // F, C and G major, squares 1, 1, 1: the mean vector is (1 + 2 cos 30 degrees) / 3 long.
    const auto estimate = circleOfFifthsKey(sumsOf({{kF, 1.0}, {kC, 1.0}, {kG, 1.0}}));
    EXPECT_EQ(estimate.key, kC);
    EXPECT_NEAR(estimate.strength, (1.0 + std::sqrt(3.0)) / 3.0, 1e-6);
}

TEST(CircleOfFifthsKey, MinorKeysBalanceToo)
{
    const auto estimate = circleOfFifthsKey(sumsOf({{kDMinor, 1.0}, {kAMinor, 1.0}, {kEMinor, 1.0}}));
    EXPECT_EQ(estimate.key, kAMinor);
    EXPECT_NEAR(estimate.strength, (1.0 + std::sqrt(3.0)) / 3.0, 1e-6);
}

TEST(CircleOfFifthsKey, TheStrengthIsThatOfTheWinningModesCircle)
{
    // Major weighs 4 squared against 1 squared in minor, where two keys lie a quarter circle apart.
    const auto estimate = circleOfFifthsKey(sumsOf({{kC, 4.0}, {kAMinor, 1.0}, {12 + 3, 1.0}}));
    EXPECT_EQ(estimate.key, kC);
    EXPECT_NEAR(estimate.strength, 1.0, 1e-6);
}

TEST(CircleOfFifthsKey, KeysAllRoundTheCircleHaveNoStrength)
{
    Sums sums;
    sums.fill(1.0);
    EXPECT_NEAR(circleOfFifthsKey(sums).strength, 0.0, 1e-6);
}

TEST(CircleOfFifthsKey, OfNothingIsTheFirstPlaceOfTheCircleWithoutStrength)
{
    const auto estimate = circleOfFifthsKey(Sums{});
    EXPECT_EQ(estimate.key, kC);
    EXPECT_EQ(estimate.strength, 0.0f);
}

TEST(CircleOfFifthsKey, CountsSquares)
{
    // C major 3, its opposite F# major 1: (9 - 1) / (9 + 1).
    const auto estimate = circleOfFifthsKey(sumsOf({{kC, 3.0}, {9, 1.0}}));
    EXPECT_EQ(estimate.key, kC);
    EXPECT_NEAR(estimate.strength, 0.8, 1e-6);
}

}  // namespace
