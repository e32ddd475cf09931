#include "key/naturalLogarithm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using eboDsp::naturalLogarithm;

TEST(NaturalLogarithm, IsTheFunctionOfTheStandardLibraryUpToRounding)
{
    for (int i = -37900; i < 38500; ++i) {
        const auto x = static_cast<float>(std::pow(10, i / 1000.0));
        const double expected = std::log(double{x});
        ASSERT_NEAR(double{naturalLogarithm(x)}, expected, 2e-7 * std::max(1.0, std::abs(expected))) << x;
    }
}

TEST(NaturalLogarithm, IsAccurateRelativeToItselfNearOne)
{
    for (int i = -100000; i < 100000; ++i) {
        const float x = 1.0f + static_cast<float>(i) * 1e-6f;
        const double expected = std::log(double{x});
        ASSERT_NEAR(double{naturalLogarithm(x)}, expected, 3e-7 * std::abs(expected)) << x;
    }
    EXPECT_EQ(naturalLogarithm(1.0f), 0.0f);
}

}  // namespace
