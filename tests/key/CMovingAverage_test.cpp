#include "key/CMovingAverage.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using eboKey::CMovingAverage;

/// The weights of the window, oldest frame first, seen through a single 1 that wanders through it.
std::vector<float> weights(int length, int windowType)
{
    CMovingAverage average(length, 1, windowType);
    std::vector<float> seen;
    float value = 1.0f;
    for (int i = 0; i < length; ++i) {
        average.push(&value);
        value = 0.0f;
        seen.insert(seen.begin(), average.movingValue(0));
    }
    return seen;
}

TEST(CMovingAverage, StartsAtZero)
{
    const CMovingAverage average(15, 2, CMovingAverage::kFlat);
    EXPECT_EQ(average.movingValue(0), 0.0f);
    EXPECT_EQ(average.movingValue(1), 0.0f);
    EXPECT_EQ(average.means()[0], 0.0f);
    EXPECT_EQ(average.means()[1], 0.0f);
    EXPECT_EQ(average.count(), 0);
    EXPECT_EQ(average.length(), 15);
    EXPECT_EQ(average.channels(), 2);
}

TEST(CMovingAverage, AFlatWindowWeighsEveryFrameAlike)
{
    for (const float weight : weights(15, CMovingAverage::kFlat))
        EXPECT_FLOAT_EQ(weight, 1.0f / 15);
}

TEST(CMovingAverage, ATriangleOfFourFramesIsTheMeanOfTheTwoInTheMiddle)
{
    EXPECT_EQ(weights(4, CMovingAverage::kTriangular), (std::vector<float>{0.0f, 0.5f, 0.5f, 0.0f}));
}

TEST(CMovingAverage, ATriangleOfTwentyFramesRisesByTwoFromBothEnds)
{
    const auto seen = weights(20, CMovingAverage::kTriangular);
    const std::vector<int> expected{0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_FLOAT_EQ(seen[i], static_cast<float>(expected[i]) / 180.0f) << "frame " << i;
}

TEST(CMovingAverage, AFrameIsForgottenWhenTheWindowHasPassedIt)
{
    CMovingAverage average(3, 1, CMovingAverage::kFlat);
    for (const float value : {1000.0f, 3.0f, 6.0f, 9.0f})
        average.push(&value);
    EXPECT_FLOAT_EQ(average.movingValue(0), 6.0f);
}

TEST(CMovingAverage, TheMeansAreThoseOfAllFramesOfTheirChannel)
{
    CMovingAverage average(4, 3, CMovingAverage::kTriangular);
    std::vector<double> sums(3);
    for (int frame = 0; frame < 1000; ++frame) {
        const std::vector<float> values{static_cast<float>(frame % 7), static_cast<float>(frame) * 0.001f,
                                        -2.5f};
        average.push(values.data());
        for (std::size_t c = 0; c < 3; ++c)
            sums[c] += double{values[c]};
    }
    EXPECT_EQ(average.count(), 1000);
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_NEAR(double{average.means()[c]}, sums[c] / 1000, 2e-5) << "channel " << c;
}

TEST(CMovingAverage, AllMovingValuesAreThoseOfEachChannel)
{
    CMovingAverage average(4, 2, CMovingAverage::kFlat);
    const std::vector<float> first{4.0f, 8.0f};
    const std::vector<float> second{4.0f, -24.0f};
    average.push(first.data());
    average.push(second.data());
    std::vector<float> values(2);
    average.movingValues(values.data());
    EXPECT_EQ(values, (std::vector<float>{2.0f, -4.0f}));
    EXPECT_EQ(average.movingValue(1), -4.0f);
}

}  // namespace
