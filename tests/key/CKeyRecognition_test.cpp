#include "key/CKeyRecognition.h"

#include "key/keyStatus.h"
#include "key/plain/PlainRecognition.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>

namespace {

using eboKey::CKeyRecognition;
using testsupport::repetitions;
using Chroma = std::array<float, 12>;

constexpr int kAMinor = 12;

struct Decided {
    eboKey::Status status;
    std::array<int, 8> keys;
    std::array<float, 8> strengths;
    std::array<float, 24> table;
};

Decided decide(const CKeyRecognition& recognition)
{
    Decided decided{};
    decided.keys.fill(-1);
    decided.table.fill(7.0f);
    decided.status = recognition.decide(decided.keys.data(), decided.strengths.data(), decided.table.data());
    return decided;
}

void update(CKeyRecognition& recognition, Chroma chroma, int keepAverages = 0)
{
    recognition.update(chroma.data(), keepAverages);
}

/// The notes of a major scale, the tonic's triad twice as strong.
Chroma majorScale(int tonic)
{
    Chroma chroma{};
    for (const int degree : {0, 2, 4, 5, 7, 9, 11})
        chroma[static_cast<std::size_t>((tonic + degree) % 12)] = 1.0f;
    for (const int degree : {0, 4, 7})
        chroma[static_cast<std::size_t>((tonic + degree) % 12)] = 2.0f;
    return chroma;
}

Chroma randomChroma(std::mt19937& random)
{
    std::uniform_real_distribution<float> level(0.0f, 1.0f);
    Chroma chroma;
    for (float& value : chroma)
        value = level(random) * level(random);
    return chroma;
}

plain::PlainRecognition::Chroma widened(const Chroma& chroma)
{
    plain::PlainRecognition::Chroma wide;
    std::copy(chroma.begin(), chroma.end(), wide.begin());
    return wide;
}

TEST(CKeyRecognition, RefusesToDecideBeforeTheFirstUpdate)
{
    CKeyRecognition recognition;
    update(recognition, majorScale(0), 1);  // does not count: it leaves the means alone
    const Decided decided = decide(recognition);
    EXPECT_EQ(decided.status, eboKey::kNotInitialised);
    EXPECT_EQ(decided.keys[0], -1);
    EXPECT_EQ(decided.strengths[0], 0.0f);
    EXPECT_EQ(decided.table, (std::array<float, 24>{})) << "the table is cleared all the same";
}

TEST(CKeyRecognition, NamesTheScaleThatItHears)
{
    for (int tonic = 0; tonic < 12; ++tonic) {
        CKeyRecognition recognition;
        for (int block = 0; block < 3; ++block)
            update(recognition, majorScale(tonic));
        const Decided decided = decide(recognition);
        EXPECT_EQ(decided.status, eboKey::kOk);
        EXPECT_EQ(decided.keys[0], tonic);
    }
}

TEST(CKeyRecognition, ScoresAreThePlainForms)
{
    std::mt19937 random(1);
    CKeyRecognition recognition;
    update(recognition, majorScale(0));
    const plain::PlainRecognition reference;
    for (int round = 0; round < repetitions(1000); ++round) {
        const Chroma chroma = randomChroma(random);
        for (int set = 0; set < 4; ++set) {
            Chroma own = chroma;
            std::array<float, 24> scores;
            recognition.score(own.data(), scores.data(), set);
            const auto expected = reference.score(widened(chroma), static_cast<std::size_t>(set));
            for (std::size_t key = 0; key < 24; ++key)
                ASSERT_NEAR(scores[key], expected[key], 1e-6) << "set " << set << ", key " << key;
        }
    }
}

TEST(CKeyRecognition, DividesTheChromaByItsSumInPlace)
{
    CKeyRecognition recognition;
    Chroma chroma{2.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f};
    recognition.update(chroma.data(), 0);
    EXPECT_EQ(chroma, (Chroma{0.5f, 0.0f, 0.0f, 0.0f, 0.25f, 0.0f, 0.0f, 0.25f}));

    chroma.fill(1e-38f);
    recognition.update(chroma.data(), 0);
    EXPECT_EQ(chroma, Chroma{}) << "too little to divide by";
}

TEST(CKeyRecognition, DecisionsAreThePlainForms)
{
    std::mt19937 random(2);
    for (int round = 0; round < repetitions(300); ++round) {
        CKeyRecognition recognition;
        plain::PlainRecognition reference;
        for (int block = 0; block < 30; ++block) {
            const Chroma chroma = randomChroma(random);
            update(recognition, chroma);
            reference.update(widened(chroma));
        }
        const auto expected = reference.decide();
        if (*std::min_element(expected.margins.begin(), expected.margins.end()) < 1e-6)
            continue;  // rounding decides
        const Decided decided = decide(recognition);
        ASSERT_EQ(decided.keys[0], expected.key) << "round " << round;
        ASSERT_NEAR(decided.strengths[0], expected.strength, 0.02) << "round " << round;
    }
}

TEST(CKeyRecognition, ZeroChromaIsAMinorWithoutStrength)
{
    CKeyRecognition recognition;
    update(recognition, Chroma{});
    const Decided decided = decide(recognition);
    EXPECT_EQ(decided.status, eboKey::kOk);
    EXPECT_EQ(decided.strengths[0], 0.0f);

    // All keys of a mode score alike; it must be the first of the mode that scores higher by the plain form.
    const auto scores = plain::PlainRecognition().score({}, 1);
    EXPECT_GT(scores[12], scores[0]);
    EXPECT_EQ(decided.keys[0], kAMinor);
}

TEST(CKeyRecognition, TheLatestScoresCanBeReplacedWithoutTouchingTheMeans)
{
    CKeyRecognition recognition;
    for (int block = 0; block < 5; ++block)
        update(recognition, majorScale(3));
    const Decided before = decide(recognition);
    update(recognition, majorScale(9), 1);
    const Decided after = decide(recognition);
    for (std::size_t u = 4; u < 8; ++u) {
        EXPECT_EQ(after.keys[u], before.keys[u]);
        EXPECT_EQ(after.strengths[u], before.strengths[u]);
    }
    EXPECT_EQ(after.keys[1], 9);
    EXPECT_EQ(after.keys[2], 9);
}

TEST(CKeyRecognition, TwoVotesAgainstTwoGoToTheLowerKey)
{
    // The means say one key, the latest block another; whichever is which, the lower number wins with half
    // the strength of a unanimous vote.
    for (const auto& [long_, latest] : {std::pair{3, 9}, std::pair{9, 3}}) {
        CKeyRecognition recognition;
        for (int block = 0; block < 5; ++block)
            update(recognition, majorScale(long_));
        update(recognition, majorScale(latest), 1);
        const Decided decided = decide(recognition);
        EXPECT_EQ(decided.keys[0], 3);
        float strengths = 0.0f;
        CKeyRecognition alone;
        update(alone, majorScale(latest));
        const Decided unanimous = decide(alone);
        for (std::size_t u = 1; u < 4; ++u)
            strengths += decided.strengths[u];
        EXPECT_FLOAT_EQ(decided.strengths[0], unanimous.strengths[0] / 2.0f);
        EXPECT_GT(strengths, 0.0f);
    }
}

TEST(CKeyRecognition, OfFourKeysWithOneVoteEachTheLowestWins)
{
    std::mt19937 random(3);
    bool found = false;
    for (int round = 0; round < 200000 && !found; ++round) {
        const Chroma mean = randomChroma(random);
        const Chroma latest = randomChroma(random);
        plain::PlainRecognition reference;
        reference.update(widened(mean));
        reference.look(widened(latest));
        const auto expected = reference.decide();
        if (expected.votes != 1 || *std::min_element(expected.margins.begin(), expected.margins.end()) < 1e-6)
            continue;
        found = true;
        CKeyRecognition recognition;
        update(recognition, mean);
        update(recognition, latest, 1);
        const Decided decided = decide(recognition);
        EXPECT_EQ(decided.keys[0],
                  std::min({decided.keys[1], decided.keys[2], decided.keys[5], decided.keys[6]}));
        EXPECT_EQ(decided.keys[0], expected.key);
    }
    EXPECT_TRUE(found) << "no such case among the random ones";
}

TEST(CKeyRecognition, AUnanimousVoteWithClearMarginsHasStrengthOne)
{
    CKeyRecognition recognition;
    Chroma triad{};
    triad[0] = triad[4] = triad[7] = 1.0f;
    update(recognition, triad);
    plain::PlainRecognition reference;
    reference.update(widened(triad));
    for (const double margin : reference.decide().margins)
        ASSERT_GT(margin, 0.0004) << "from here on an opinion has strength 1";
    EXPECT_EQ(decide(recognition).keys[0], 0);
    EXPECT_EQ(decide(recognition).strengths[0], 1.0f);
}

TEST(CKeyRecognition, AnOpinionsStrengthIsFiftyRootsOfItsMargin)
{
    CKeyRecognition recognition;
    Chroma nearlyFlat;
    nearlyFlat.fill(1.0f);
    nearlyFlat[0] = 1.002f;
    update(recognition, nearlyFlat);
    plain::PlainRecognition reference;
    reference.update(widened(nearlyFlat));
    const double margin = reference.decide().margins[1];
    ASSERT_LT(margin, 0.0004);
    EXPECT_NEAR(decide(recognition).strengths[1], 50.0 * std::sqrt(margin), 0.02);
}

TEST(CKeyRecognition, TheTableIsTheMeanOfTheOpinionsThatVote)
{
    CKeyRecognition recognition;
    update(recognition, majorScale(5));
    update(recognition, majorScale(7));
    const Decided decided = decide(recognition);
    EXPECT_NEAR(std::accumulate(decided.table.begin(), decided.table.end(), 0.0), 1.0, 1e-6);

    const plain::PlainRecognition reference;
    for (std::size_t key = 0; key < 24; ++key) {
        double sum = 0.0;
        for (const std::size_t set : {1U, 2U}) {
            const double first = reference.score(widened(majorScale(5)), set)[key];
            const double latest = reference.score(widened(majorScale(7)), set)[key];
            sum += latest + (first + latest) / 2.0;
        }
        EXPECT_NEAR(decided.table[key], sum / 4.0, 1e-6);
    }
}

TEST(BestKey, IsTheLowestOfEquals)
{
    std::array<float, 24> scores{};
    scores[5] = scores[20] = 0.25f;
    EXPECT_EQ(eboKey::bestKey(scores.data()).key, 5);
    EXPECT_EQ(eboKey::bestKey(scores.data()).score, 0.25f);
}

TEST(BestKey, IsNoneWhereNothingIsAboveTheFloor)
{
    std::array<float, 24> scores;
    scores.fill(-1e37f);
    EXPECT_EQ(eboKey::bestKey(scores.data()).key, -1);
}

}  // namespace
