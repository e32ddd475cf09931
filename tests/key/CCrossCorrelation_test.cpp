#include "key/CCrossCorrelation_If.h"

#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

namespace {

constexpr int kBlock = 64;

std::unique_ptr<CCrossCorrelation_If> make(bool normalise, int blockLength = kBlock)
{
    std::unique_ptr<CCrossCorrelation_If> correlation;
    EXPECT_EQ(CCrossCorrelation_If::create(correlation, blockLength, normalise), eboKey::kOk);
    return correlation;
}

std::vector<float> run(CCrossCorrelation_If& correlation, const std::vector<float>& first,
                       const std::vector<float>& second)
{
    std::vector<float> result(static_cast<std::size_t>(correlation.length()));
    correlation.correlate(result.data(), first.data(), second.data());
    return result;
}

double at(const std::vector<float>& samples, int index)
{
    return index >= 0 && index < static_cast<int>(samples.size()) ? samples[static_cast<std::size_t>(index)]
                                                                  : 0.0;
}

double energy(const std::vector<float>& samples)
{
    double sum = 0.0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * sample;
    return sum;
}

TEST(CCrossCorrelation, IsTheSumOfProductsAtEveryLag)
{
    const std::vector<float> first = testsupport::noise(kBlock, 1);
    const std::vector<float> second = testsupport::noise(kBlock, 2);
    const double scale = std::sqrt(energy(first) * energy(second));
    for (const bool normalise : {false, true}) {
        const auto correlation = make(normalise);
        ASSERT_EQ(correlation->length(), 2 * kBlock);
        const std::vector<float> result = run(*correlation, first, second);
        for (int lag = -kBlock; lag < kBlock; ++lag) {
            double wanted = 0.0;
            for (int i = 0; i < kBlock; ++i)
                wanted += at(first, i) * at(second, i + lag);
            const int index = lag < 0 ? lag + 2 * kBlock : lag;
            EXPECT_NEAR(at(result, index), normalise ? wanted / scale : wanted, 1e-5) << lag;
        }
    }
}

TEST(CCrossCorrelation, ThePeakTellsHowLateTheSecondBlockIs)
{
    const auto correlation = make(true);
    const std::vector<float> noise = testsupport::noise(2 * kBlock, 5);
    for (const int lag : {-40, -1, 0, 1, 25}) {
        std::vector<float> first(kBlock);
        std::vector<float> second(kBlock);
        for (int i = 0; i < kBlock; ++i) {
            first[static_cast<std::size_t>(i)] = static_cast<float>(at(noise, i + kBlock / 2));
            second[static_cast<std::size_t>(i)] = static_cast<float>(at(noise, i + kBlock / 2 - lag));
        }
        EXPECT_EQ(correlation->peak(run(*correlation, first, second).data()).lag, lag);
    }
}

TEST(CCrossCorrelation, EqualBlocksHaveOneAtLagZero)
{
    const auto correlation = make(true);
    const std::vector<float> noise = testsupport::noise(kBlock, 9);
    const CCrossCorrelation_If::Peak peak = correlation->peak(run(*correlation, noise, noise).data());
    EXPECT_EQ(peak.lag, 0);
    EXPECT_NEAR(peak.value, 1.0f, 1e-5f);
}

TEST(CCrossCorrelation, SilenceResemblesNothing)
{
    const auto correlation = make(true);
    const std::vector<float> silence(kBlock, 0.0f);
    const std::vector<float> result = run(*correlation, silence, testsupport::noise(kBlock, 9));
    EXPECT_EQ(result, std::vector<float>(2 * kBlock, 0.0f));
    EXPECT_EQ(correlation->peak(result.data()).lag, 0);
}

TEST(CCrossCorrelation, BlocksThatTheTransformCannotDoubleAreRefused)
{
    for (const int blockLength : {0, -64, 2, 100, 1 << 30}) {
        auto correlation = make(false);
        EXPECT_EQ(CCrossCorrelation_If::create(correlation, blockLength, false), 5000003) << blockLength;
        EXPECT_EQ(correlation, nullptr);
    }
}

}  // namespace
