#include "key/CAverage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

/// Samples of one magnitude and changing sign.
std::vector<float> ofMagnitude(float magnitude, std::size_t count)
{
    std::vector<float> samples(count, magnitude);
    for (std::size_t i = 1; i < count; i += 2)
        samples[i] = -magnitude;
    return samples;
}

TEST(CAverage, TheEnvelopeNearsTheMagnitudeByItsCoefficientPerSample)
{
    CAverage average(8192);
    average.setEnvelopeCoefficient(0.95f);
    for (int n = 1; n <= 200; ++n) {
        const float sample = n % 2 == 0 ? 0.5f : -0.5f;
        average.process(&sample, 1);
        EXPECT_NEAR(double{average.envelope()}, 0.5 * (1 - std::pow(0.95, n)), 1e-6) << "sample " << n;
    }
}

TEST(CAverage, TheEnvelopeIsSlowByDefault)
{
    CAverage average(8192);
    const auto samples = ofMagnitude(1.0f, 1000);
    average.process(samples.data(), 1000);
    EXPECT_NEAR(double{average.envelope()}, 1 - std::pow(0.99998, 1000), 2e-4);
    EXPECT_EQ(average.sampleRate(), 8192);
}

TEST(CAverage, TheMeanIsThatOfAllMagnitudesSoFar)
{
    CAverage average(8192);
    const auto loud = ofMagnitude(0.75f, 300);
    const auto soft = ofMagnitude(0.25f, 100);
    average.process(loud.data(), 300);
    EXPECT_FLOAT_EQ(average.mean(), 0.75f);
    average.process(soft.data(), 100);
    EXPECT_FLOAT_EQ(average.mean(), 0.625f);
    EXPECT_EQ(average.count(), 400);
}

TEST(CAverage, TheSlowMeanGoesHalfTheWayAtEachCall)
{
    CAverage average(8192);
    const auto samples = ofMagnitude(1.0f, 16);
    for (const float expected : {0.5f, 0.75f, 0.875f}) {
        average.process(samples.data(), 16);
        EXPECT_FLOAT_EQ(average.slowMean(), expected);
    }
}

TEST(CAverage, NoSamplesChangeNothing)
{
    CAverage average(8192);
    const float sample = 1.0f;
    average.process(&sample, 1);
    const float slowMean = average.slowMean();
    average.process(&sample, 0);
    EXPECT_EQ(average.slowMean(), slowMean);
    EXPECT_EQ(average.mean(), 1.0f);
    EXPECT_EQ(average.count(), 1);
}

}  // namespace
