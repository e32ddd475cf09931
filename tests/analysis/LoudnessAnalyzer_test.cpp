#include "analysis/LoudnessAnalyzer.h"

#include "synth/signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

float loudnessOf(const std::vector<float>& samples, double sampleRate = 44100, std::size_t block = 16384)
{
    LoudnessAnalyzer analyzer(sampleRate);
    for (std::size_t start = 0; start < samples.size(); start += block) {
        const std::size_t count = std::min(block, samples.size() - start);
        analyzer.process(samples.data() + start, static_cast<std::uint32_t>(count));
    }
    return analyzer.peakLevel();
}

TEST(LoudnessAnalyzer, SilenceHasTheSmallestLevelThereIs)
{
    EXPECT_EQ(loudnessOf(synth::silence(2)), 0.00001f);
    EXPECT_EQ(LoudnessAnalyzer(44100).peakLevel(), 0.00001f);
}

TEST(LoudnessAnalyzer, AFullScaleSineHasTheRootOfAHalf)
{
    EXPECT_NEAR(loudnessOf(synth::sine({.frequency = 1000, .seconds = 3})), std::sqrt(0.5), 0.002);
}

TEST(LoudnessAnalyzer, AConstantOfOneApproachesOneWithTheTimeConstant)
{
    // After 100 ms the mean power is 1 - 1/e.
    EXPECT_NEAR(loudnessOf(std::vector<float>(4410, 1.0f)), std::sqrt(1 - std::exp(-1.0)), 1e-3);
    EXPECT_NEAR(loudnessOf(std::vector<float>(88200, -1.0f)), 1.0, 1e-3);
}

TEST(LoudnessAnalyzer, AShortClickHasLittleEffect)
{
    std::vector<float> click(44100, 0.0f);
    std::fill_n(click.begin() + 10000, 44, 1.0f);  // 1 ms
    EXPECT_NEAR(loudnessOf(click), std::sqrt(1 - std::exp(-0.01)), 1e-3);
}

TEST(LoudnessAnalyzer, TheLoudestMomentStays)
{
    std::vector<float> samples = synth::sine({.seconds = 2, .amplitude = 0.8});
    const float loud = loudnessOf(samples);
    const std::vector<float> soft = synth::sine({.seconds = 2, .amplitude = 0.1});
    samples.insert(samples.end(), soft.begin(), soft.end());
    EXPECT_EQ(loudnessOf(samples), loud);
}

TEST(LoudnessAnalyzer, BlocksMakeNoDifference)
{
    const std::vector<float> samples = synth::noise({.seconds = 1});
    const float whole = loudnessOf(samples, 44100, samples.size());
    for (const std::size_t block : {1U, 70U, 16384U})
        EXPECT_EQ(loudnessOf(samples, 44100, block), whole) << "blocks of " << block;
}

TEST(LoudnessAnalyzer, AnEmptyBlockChangesNothing)
{
    LoudnessAnalyzer analyzer(44100);
    const std::vector<float> loud(44100, 0.5f);
    analyzer.process(loud.data(), 44100);
    const float before = analyzer.peakLevel();
    analyzer.process(loud.data(), 0);
    EXPECT_EQ(analyzer.peakLevel(), before);
}

TEST(LoudnessAnalyzer, EqualsThePlainFormulaBitForBit)
{
    std::vector<float> samples = synth::noise({.seconds = 2, .seed = 3});
    const std::vector<float> rest = synth::silence(30);  // long enough to fade beyond the smallest floats
    samples.insert(samples.end(), rest.begin(), rest.end());
    const std::vector<float> more = synth::noise({.seconds = 2, .seed = 4});
    samples.insert(samples.end(), more.begin(), more.end());

    const float c = 1.0f - std::exp(-1000.0f / (100.0f * 44100.0f));
    float state = 0.0f;
    float highest = 0.0f;
    for (const float x : samples) {
        state = c * (x * x) + (1.0f - c) * state;
        highest = std::max(highest, state);
    }
    EXPECT_EQ(loudnessOf(samples), std::sqrt(highest));
}

TEST(LoudnessAnalyzer, SamplesTooLargeToSquareGiveInfinityAndNotNonsense)
{
    EXPECT_TRUE(std::isinf(loudnessOf(std::vector<float>(20000, 1e38f))));
}

}  // namespace
