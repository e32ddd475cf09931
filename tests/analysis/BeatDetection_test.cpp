#include "analysis/BeatDetection.h"

#include "analysis/FixedTransients.h"
#include "analysis/plain/PlainBeatDetection.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr float kRate = 44100.0f;

/// Notes what it is told, and says what it was made to say.
class Listener : public StatusCallbackInterface {
public:
    explicit Listener(bool goOn = true) : goOn_(goOn) {}

    bool addProgress(float amount) override
    {
        amounts.push_back(amount);
        return goOn_;
    }

    std::vector<float> amounts;

private:
    bool goOn_;
};

struct Result {
    float bpm = 0.0f;
    float offset = 0.0f;
};

Result analyze(const TransientMap& onsets, std::int32_t minimumTempo,
               StatusCallbackInterface* status = nullptr, float sampleRate = kRate)
{
    BeatDetection detection(sampleRate, minimumTempo, std::make_unique<FixedTransients>(onsets));
    Result result;
    detection.analyze(&result.bpm, &result.offset, status);
    return result;
}

/// Onsets of one band at an even pace, each with the distance to the one before.
TransientMap metronome(double bpm, int beats, double firstPosition = 10000, std::uint32_t band = 4)
{
    TransientMap map;
    const double period = 60 / bpm * kRate;
    std::uint64_t last = 0;
    for (int i = 0; i < beats; ++i) {
        const auto position = static_cast<std::uint64_t>(firstPosition + i * period);
        const auto interval = static_cast<std::uint32_t>(position - last);
        map.insert(position, {band, 0.5f, 60.0f / (static_cast<float>(interval) / kRate), interval});
        last = position;
    }
    return map;
}

TEST(BeatDetection, SilenceGivesTheMiddleOfTheTempoRange)
{
    Listener listener;
    const Result result = analyze({}, 70, &listener);
    EXPECT_EQ(result.bpm, 105.0f);
    EXPECT_EQ(result.offset, 0.0f);
    EXPECT_TRUE(listener.amounts.empty());
}

TEST(BeatDetection, OneOnsetIsLikeSilence)
{
    const Result result = analyze(metronome(90, 1), 70);
    EXPECT_EQ(result.bpm, 105.0f);
    EXPECT_EQ(result.offset, 0.0f);
}

TEST(BeatDetection, OnsetsInOneClusterOnlyGiveTheirMeanTempo)
{
    TransientMap map;
    map.insert(1000, {0, 0.2f, 90.5f, 0});
    map.insert(2000, {1, 0.6f, 90.5f, 0});
    map.insert(3000, {2, 0.2f, 45.25f, 0});
    const Result result = analyze(map, 70);
    EXPECT_NEAR(result.bpm, 90.5, 1e-4);
    EXPECT_EQ(result.offset, 0.0f);
}

TEST(BeatDetection, TwoClustersHaveNoPhase)
{
    TransientMap map = metronome(100, 3, 30000);  // the last cluster is dropped
    const Result result = analyze(map, 70);
    EXPECT_EQ(result.offset, 0.0f);
}

TEST(BeatDetection, ATempoNearAWholeNumberIsThatNumber)
{
    EXPECT_EQ(roundedTempo(127.99f), 128.0f);
    EXPECT_EQ(roundedTempo(127.97f), 127.97f);
    EXPECT_EQ(roundedTempo(128.01f), 128.0f);
    EXPECT_EQ(roundedTempo(128.03f), 128.03f);
    EXPECT_EQ(roundedTempo(90.5f), 90.5f);
}

TEST(BeatDetection, RoundingToTheUpperEndFoldsToTheLowerEnd)
{
    // All onsets are one cluster, so the tempo is their mean: 139.99, which becomes 140.
    TransientMap map;
    map.insert(1000, {0, 0.2f, 139.99f, 0});
    map.insert(1010, {0, 0.2f, 139.99f, 0});
    EXPECT_EQ(analyze(map, 70).bpm, 70.0f);
}

TEST(BeatDetection, ATempoBelowTheRangeIsDoubled)
{
    const Result result = analyze(metronome(120, 200), 130);
    EXPECT_NEAR(result.bpm, 240.0, 0.02);
}

TEST(BeatDetection, AMetronomeHasItsTempo)
{
    for (const double bpm : {60.0, 75.5, 90.0, 107.3, 115.0}) {
        const Result result = analyze(metronome(bpm, 300), 58);
        EXPECT_NEAR(result.bpm, bpm, 0.05) << bpm << " BPM";
    }
}

TEST(BeatDetection, TheOffsetIsOnABeatInTheFirstBar)
{
    for (const double start : {0.0, 700.0, 10000.0, 30000.0, 70000.0}) {
        const Result result = analyze(metronome(100, 300, start), 70);
        ASSERT_EQ(result.bpm, 100.0f);
        const double period = 26460;
        EXPECT_GE(result.offset, 0.0f);
        EXPECT_LT(result.offset, 4 * period);
        const double distance = std::remainder(result.offset - start, period);
        EXPECT_LT(std::abs(distance), 0.02 * kRate) << "start " << start << ", offset " << result.offset;
    }
}

TEST(BeatDetection, ReportsItsShareOnceBetweenTempoAndPhase)
{
    Listener listener;
    analyze(metronome(100, 100), 70, &listener);
    EXPECT_EQ(listener.amounts, (std::vector<float>{0.04f}));
}

TEST(BeatDetection, AStopKeepsTheTempoAndLeavesTheOffset)
{
    const TransientMap onsets = metronome(100, 100, 10000);
    Listener stop(false);
    const Result stopped = analyze(onsets, 70, &stop);
    const Result whole = analyze(onsets, 70);
    EXPECT_EQ(stopped.bpm, whole.bpm);
    EXPECT_EQ(stopped.offset, 0.0f);
    EXPECT_NE(whole.offset, 0.0f);
}

TEST(BeatDetection, ABeatAtTheStartOfTheBarSnapsToIt)
{
    // 18 ms are 793.8 samples.
    EXPECT_EQ(analyze(metronome(100, 300, 500), 70).offset, 0.0f);
}

TEST(BeatDetection, SenselessInputEndsInNumbers)
{
    using Limits = std::numeric_limits<float>;
    const std::vector<float> tempi{0.0f,  -1.0f, Limits::infinity(), Limits::quiet_NaN(), 1e-40f,
                                   1e38f, 120.0f};
    const std::vector<float> strengths{0.0f, 1e18f, 0.5f};
    for (const std::int32_t minimum : {-2147483647, -1, 0, 1, 2, 3, 58, 20000, 2147483647}) {
        for (const float strength : strengths) {
            TransientMap map;
            for (std::uint64_t i = 0; i < 50; ++i)
                map.insert(i * 20000,
                           {static_cast<std::uint32_t>(i % 9), strength, tempi[i % tempi.size()], 5});
            for (const float rate : {315.0f, 44100.0f, 4e9f}) {
                const Result result = analyze(map, minimum, nullptr, rate);
                EXPECT_FALSE(std::isnan(result.bpm)) << minimum << " BPM, " << rate << " Hz";
                EXPECT_FALSE(std::isnan(result.offset)) << minimum << " BPM, " << rate << " Hz";
            }
        }
    }
}

void expectEqualToPlain(const TransientMap& onsets, float sampleRate, std::int32_t minimumTempo)
{
    plain::Onsets reference;
    for (const auto& [position, event] : onsets)
        reference.emplace(position, event);
    const plain::BeatResult expected = plain::searchBeats(reference, sampleRate, minimumTempo);
    const Result result = analyze(onsets, minimumTempo, nullptr, sampleRate);
    EXPECT_EQ(result.bpm, expected.bpm) << onsets.size() << " onsets at " << sampleRate << " Hz";
    EXPECT_EQ(result.offset, expected.offset) << onsets.size() << " onsets at " << sampleRate << " Hz";
}

TEST(BeatDetection, EqualsThePlainFormOverRandomOnsets)
{
    std::minstd_rand random(11);
    const auto uniform = [&random](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    for (int round = 0; round < testsupport::repetitions(40); ++round) {
        const float rate = round % 3 == 0 ? 8000.0f : 44100.0f;
        const double meanGap = uniform(0.02, 0.6);  // seconds
        TransientMap map;
        double seconds = 0;
        const int count = static_cast<int>(uniform(0, 400));
        for (int i = 0; i < count; ++i) {
            if (random() % 3 != 0)
                seconds += uniform(0, 2 * meanGap);
            map.insert(static_cast<std::uint64_t>(seconds * rate),
                       {static_cast<std::uint32_t>(random() % 9), static_cast<float>(uniform(0.01, 1)),
                        static_cast<float>(uniform(5, 700)), 1000});
        }
        SCOPED_TRACE(testing::Message() << "round " << round);
        expectEqualToPlain(map, rate, static_cast<std::int32_t>(uniform(30, 130)));
    }
}

TEST(BeatDetection, EqualsThePlainFormOverMusicalOnsets)
{
    std::minstd_rand random(12);
    const auto uniform = [&random](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    for (int round = 0; round < testsupport::repetitions(20); ++round) {
        // A kick on the beats, hats on the eighths, a clap on two and four; a little unsteady.
        const double period = 60 / uniform(60, 180);
        const double start = uniform(0, 3);
        std::array<double, 9> last{};
        TransientMap map;
        const auto hit = [&](double seconds, std::uint32_t band, double strength) {
            seconds = std::max(0.0, seconds + uniform(-0.006, 0.006));
            const double interval = std::max(0.1, seconds - last[band]);
            last[band] = seconds;
            map.insert(static_cast<std::uint64_t>(seconds * kRate),
                       {band, static_cast<float>(strength * uniform(0.7, 1.3)),
                        static_cast<float>(60 / interval), static_cast<std::uint32_t>(interval * kRate)});
        };
        for (int beat = 0; beat < 160; ++beat) {
            const double time = start + beat * period;
            hit(time, 0, 0.5);
            hit(time, 1, 0.4);
            hit(time + period / 2, 8, 0.1);
            if (beat % 2 == 1)
                hit(time, 6, 0.2);
            if (beat % 4 == 0)
                hit(time, 4, 0.3);
        }
        SCOPED_TRACE(testing::Message() << "round " << round);
        expectEqualToPlain(map, kRate, 58);
    }
}

}  // namespace
