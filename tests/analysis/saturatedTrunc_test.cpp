#include "analysis/saturatedTrunc.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using analysis::saturatedTrunc;

TEST(SaturatedTrunc, FractionsAreCutTowardsZero)
{
    EXPECT_EQ(saturatedTrunc<int>(2.9f), 2);
    EXPECT_EQ(saturatedTrunc<int>(-2.9f), -2);
    EXPECT_EQ(saturatedTrunc<std::uint32_t>(-0.9f), 0U);
}

TEST(SaturatedTrunc, WhatDoesNotFitBecomesTheNearestEnd)
{
    EXPECT_EQ(saturatedTrunc<std::uint32_t>(-5.0), 0U);
    EXPECT_EQ(saturatedTrunc<std::uint32_t>(4294967295.0), 4294967295U);
    EXPECT_EQ(saturatedTrunc<std::uint32_t>(4294967296.0), 4294967295U);
    EXPECT_EQ(saturatedTrunc<std::uint32_t>(4294967296.0f), 4294967295U);
    EXPECT_EQ(saturatedTrunc<std::int64_t>(9223372036854775808.0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(saturatedTrunc<std::int64_t>(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(saturatedTrunc<std::uint64_t>(18446744073709551616.0f), 18446744073709551615U);
    EXPECT_EQ(saturatedTrunc<int>(std::numeric_limits<float>::infinity()), 2147483647);
}

TEST(SaturatedTrunc, NotANumberIsZero)
{
    EXPECT_EQ(saturatedTrunc<int>(std::numeric_limits<float>::quiet_NaN()), 0);
}

}  // namespace
