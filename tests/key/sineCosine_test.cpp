#include "key/sineCosine.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using eboDsp::sineCosine;

TEST(SineCosine, IsTheFunctionsOfTheStandardLibraryUpToRounding)
{
    for (int i = -12560; i <= 12560; ++i) {
        const float angle = static_cast<float>(i) * 0.0005f;
        const auto [sine, cosine] = sineCosine(angle);
        const double tolerance = std::abs(angle) <= 1.0f ? 2e-7 : 1e-6;
        ASSERT_NEAR(double{sine}, std::sin(double{angle}), tolerance) << angle;
        ASSERT_NEAR(double{cosine}, std::cos(double{angle}), tolerance) << angle;
    }
}

TEST(SineCosine, BringsManyTurnsIntoOne)
{
    for (const float angle : {1000.0f, -1000.0f, 6283.0f, 20000.0f}) {
        const auto [sine, cosine] = sineCosine(angle);
        EXPECT_NEAR(double{sine}, std::sin(double{angle}), 2e-6) << angle;
        EXPECT_NEAR(double{cosine}, std::cos(double{angle}), 2e-6) << angle;
    }
}

TEST(SineCosine, StaysInItsRangeUpToAMillionTurns)
{
    for (int i = 0; i < 60000; ++i) {
        const float angle = 1e4f + 100.003f * static_cast<float>(i);
        const auto [sine, cosine] = sineCosine(angle);
        ASSERT_LE(std::abs(sine), 1.5f) << angle;
        ASSERT_LE(std::abs(cosine), 1.5f) << angle;
    }
}

TEST(SineCosine, IsExactAtZero)
{
    EXPECT_EQ(sineCosine(0.0f).sine, 0.0f);
    EXPECT_EQ(sineCosine(0.0f).cosine, 1.0f);
}

}  // namespace
