#include "key/vectorOps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::vector<float> countedFrom(float first, int count)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), first);
    return values;
}

TEST(VectorOps, ProductsGoElementByElement)
{
    for (const int count : {0, 1, 7, 8, 33}) {
        std::vector<float> a = countedFrom(1.0f, count);
        eboDsp::multiply(a.data(), countedFrom(-3.0f, count).data(), count);
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(a[static_cast<std::size_t>(i)], static_cast<float>((1 + i) * (i - 3)));
        a = countedFrom(1.0f, count);
        eboDsp::multiply(a.data(), 0.5f, count);
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(a[static_cast<std::size_t>(i)], 0.5f * static_cast<float>(1 + i));
    }
}

TEST(VectorOps, TheMaximumIsFoundWhereverItStands)
{
    for (const int count : {1, 7, 8, 9, 33})
        for (int at = 0; at < count; ++at) {
            std::vector<float> values(static_cast<std::size_t>(count), -2.0f);
            values[static_cast<std::size_t>(at)] = -1.0f;
            const eboDsp::Maximum found = eboDsp::maximum(values.data(), count);
            EXPECT_EQ(found.value, -1.0f);
            EXPECT_EQ(found.index, at) << "of " << count;
        }
}

TEST(VectorOps, OfEqualMaximaTheLowestIndexCounts)
{
    std::vector<float> values(40, 0.0f);
    values[37] = values[9] = values[16] = 4.0f;
    EXPECT_EQ(eboDsp::maximum(values.data(), 40).index, 9);
    EXPECT_EQ(eboDsp::maximum(std::vector<float>(12, 0.0f).data(), 12).index, 0);
}

TEST(VectorOps, WhatIsNoNumberIsNoMaximum)
{
    std::vector<float> values(20, kNaN);
    EXPECT_EQ(eboDsp::maximum(values.data(), 20).index, 0);
    EXPECT_EQ(eboDsp::maximum(values.data(), 20).value, -std::numeric_limits<float>::infinity());
    EXPECT_EQ(eboDsp::maximum(values.data(), 0).index, 0);
    values[18] = -5.0f;
    EXPECT_EQ(eboDsp::maximum(values.data(), 20).index, 18);
    values[3] = 5.0f;
    EXPECT_EQ(eboDsp::maximum(values.data(), 20).index, 3);
}

TEST(VectorOps, TheLogarithmSeesNothingBelowTheLimit)
{
    std::vector<float> x{0.0f, -7.0f, 0.999f, 1.0f, std::exp(1.0f), 15.0f};
    eboDsp::floorAndLog(x.data(), 1.0f, 2.0f, 6);
    const float ln2 = std::log(2.0f);
    EXPECT_EQ(x, (std::vector<float>{ln2, ln2, ln2, 0.0f, std::log(std::exp(1.0f)), std::log(15.0f)}));
}

TEST(VectorOps, TheDotProductAddsInItsDocumentedOrder)
{
    // Values so far apart in size that every order of the additions rounds differently.
    for (const int count : {0, 1, 5, 8, 19, 64}) {
        std::vector<float> a;
        std::vector<float> b;
        for (int i = 0; i < count; ++i) {
            a.push_back(std::ldexp(1.0f + 0.37f * static_cast<float>(i % 5), (i * 7) % 24));
            b.push_back(i % 3 == 0 ? -1.1f : 1.3f);
        }
        float sum[8] = {};
        for (int i = 0; i < count; ++i)
            sum[i % 8] += a[static_cast<std::size_t>(i)] * b[static_cast<std::size_t>(i)];
        const float wanted =
            ((sum[0] + sum[4]) + (sum[2] + sum[6])) + ((sum[1] + sum[5]) + (sum[3] + sum[7]));
        EXPECT_EQ(eboDsp::dotProduct(a.data(), b.data(), count), wanted) << count;
    }
}

TEST(VectorOps, MagnitudesLeaveTheLastBinOut)
{
    const std::vector<float> spectrum{-2.0f, 99.0f, 3.0f, 4.0f, -5.0f, 12.0f, 0.0f, -1.0f};
    const std::vector<float> wanted{2.0f, 5.0f, 13.0f, 1.0f};
    std::vector<float> apart(4);
    eboDsp::magnitudes(spectrum.data(), apart.data(), 4);
    EXPECT_EQ(apart, wanted);
    std::vector<float> shared = spectrum;
    eboDsp::magnitudes(shared.data(), shared.data(), 4);
    shared.resize(4);
    EXPECT_EQ(shared, wanted);
    eboDsp::magnitudes(spectrum.data(), nullptr, 0);
}

}  // namespace
