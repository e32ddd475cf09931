#include "key/CFastResample.h"

#include "noise.h"
#include "resamplerSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

namespace {

using Curve = CFastResample::Curve;
using testsupport::resampled;

std::unique_ptr<CResample_If> make(int inputRate, int outputRate, Curve curve)
{
    std::unique_ptr<CResample_If> resampler;
    EXPECT_EQ(CFastResample::create(resampler, inputRate, outputRate, curve, 16384, 1), eboKey::kOk);
    return resampler;
}

TEST(CFastResample, ThePolynomialIsTheOneWorkedOutByHand)
{
    // 4 outputs per frame. Between 1 and 2 of {0, 1, 2, 3}: a = 2, b = -3, c = 2, d = 1; before that, between
    // 0 and 1 of {0, 0, 1, 2}: a = 2 - 1 - 0 + 0 = 1, b = 0 - 0 - 1 = -1, c = 1, d = 0.
    const std::vector<float> output =
        resampled(*make(100, 400, Curve::kPolynomial), {0.0f, 1.0f, 2.0f, 3.0f});
    EXPECT_EQ(output, (std::vector<float>{0.0f, 0.015625f - 0.0625f + 0.25f, 0.125f - 0.25f + 0.5f,
                                          0.421875f - 0.5625f + 0.75f, 1.0f, 1.34375f, 1.5f, 1.65625f}));
}

TEST(CFastResample, HermiteFollowsALineAndAParabola)
{
    std::vector<float> line;
    std::vector<float> parabola;
    for (int i = 0; i < 20; ++i) {
        line.push_back(static_cast<float>(3 * i - 7));
        parabola.push_back(static_cast<float>(i * i));
    }
    const std::vector<float> onLine = resampled(*make(100, 400, Curve::kHermite), line);
    const std::vector<float> onParabola = resampled(*make(100, 400, Curve::kHermite), parabola);
    ASSERT_EQ(onLine.size(), 4u * 18u);
    // The zeros before the stream bend the first frame.
    for (std::size_t k = 4; k < onLine.size(); ++k) {
        const float time = static_cast<float>(k) / 4.0f;
        EXPECT_FLOAT_EQ(onLine[k], 3.0f * time - 7.0f) << k;
        EXPECT_FLOAT_EQ(onParabola[k], time * time) << k;
    }
}

TEST(CFastResample, BothCurvesPassThroughTheInputs)
{
    const std::vector<float> input = testsupport::noise(1000, 3);
    for (const Curve curve : {Curve::kPolynomial, Curve::kHermite}) {
        const std::vector<float> same = resampled(*make(8192, 8192, curve), input);
        EXPECT_EQ(same, std::vector<float>(input.begin(), input.end() - 2));
        const std::vector<float> half = resampled(*make(16384, 8192, curve), input);
        ASSERT_EQ(half.size(), 499u);
        for (std::size_t k = 0; k < half.size(); ++k)
            EXPECT_EQ(half[k], input[2 * k]);
    }
}

TEST(CFastResample, BlocksMayBeCutAnywhere)
{
    for (const Curve curve : {Curve::kPolynomial, Curve::kHermite})
        for (const int rate : {8192, 44100, 32001, 1536000, 5000}) {
            const std::vector<float> input = testsupport::noise(40000, 2);
            const std::vector<float> whole = resampled(*make(rate, 8192, curve), input);
            EXPECT_EQ(resampled(*make(rate, 8192, curve), input, [] { return 1; }), whole) << rate;
            EXPECT_EQ(resampled(*make(rate, 8192, curve), input, [] { return 7; }), whole) << rate;
            std::mt19937 generator(9);
            EXPECT_EQ(resampled(*make(rate, 8192, curve), input,
                                [&] { return static_cast<int>(generator() % 5000); }),
                      whole)
                << rate;
        }
}

TEST(CFastResample, ALowToneComesOutAtItsPlace)
{
    const auto tone = testsupport::sineIn(
        resampled(*make(44100, 8192, Curve::kHermite), testsupport::sineAt(200.0, 44100, 44100)), 200.0, 8192,
        10);
    EXPECT_NEAR(std::abs(tone), 1.0, 1e-4);
    EXPECT_NEAR(std::arg(tone), 0.0, 1e-4);
}

TEST(CFastResample, ABlockGivesItsShare)
{
    const auto resampler = make(44100, 8192, Curve::kPolynomial);
    EXPECT_EQ(resampler->maxOutput(), 3044);
    const std::vector<float> block(16384);
    std::vector<float> out(3044);
    EXPECT_EQ(resampler->process(block.data(), 16384, out.data()), 3044);
    EXPECT_EQ(resampler->process(nullptr, 0, nullptr), 0);
    EXPECT_EQ(resampler->process(block.data(), 16384, out.data()), 3043);
}

TEST(CFastResample, AResetStartsANewStream)
{
    const auto resampler = make(44100, 8192, Curve::kHermite);
    const std::vector<float> input = testsupport::noise(999, 2);
    const std::vector<float> first = resampled(*resampler, input);
    resampler->reset();
    EXPECT_EQ(resampled(*resampler, input), first);
}

TEST(CFastResample, ArgumentsOutOfRangeAreRefused)
{
    const Curve curve = Curve::kPolynomial;
    std::unique_ptr<CResample_If> resampler = make(44100, 8192, curve);
    EXPECT_EQ(CFastResample::create(resampler, 0, 8192, curve, 16384, 1), 5000003);
    EXPECT_EQ(resampler, nullptr);
    EXPECT_EQ(CFastResample::create(resampler, 44100, -1, curve, 16384, 1), 5000003);
    EXPECT_EQ(CFastResample::create(resampler, 44100, 8192, curve, 0, 1), 5000003);
    EXPECT_EQ(CFastResample::create(resampler, 44100, 8192, curve, INT_MAX, 1), 5000003);
    EXPECT_EQ(CFastResample::create(resampler, 44100, 8192, curve, 16384, 2), 5000003);
    EXPECT_EQ(CFastResample::create(resampler, 1, 8192, curve, 16384, 1), 5000003);
    EXPECT_EQ(CFastResample::create(resampler, INT_MAX, 8192, curve, 16384, 1), eboKey::kOk);
}

}  // namespace
