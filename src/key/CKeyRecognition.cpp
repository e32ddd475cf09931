#include "key/CKeyRecognition.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace eboKey {

namespace {

constexpr int kHistoryLength = 20;  // blocks
constexpr float kNothing = 1e-36f;  // sums up to this count as 0
constexpr float kLowest = -1e37f;

/// The pitch class or tonic so many semitones above another one.
constexpr std::size_t above(std::size_t pitchClass, std::size_t semitones)
{
    return (pitchClass + semitones) % kPitchClasses;
}

void divideBySum(float* values, int count)
{
    const float sum = std::accumulate(values, values + count, 0.0f);
    for (int i = 0; i < count; ++i)
        values[i] = sum > kNothing ? values[i] / sum : 0.0f;
}

/// How near the chroma, turned to begin at the tonic, lies to the profile.
float match(const float* chroma, std::size_t tonic, const KeyProfile& profile)
{
    float squares = 0.0f;
    for (std::size_t j = 0; j < kPitchClasses; ++j) {
        const float difference = chroma[above(tonic, j)] - profile[j];
        squares += difference * difference;
    }
    const float nearness = 1.0f - std::sqrt(squares);
    return nearness * nearness;
}

/// A key's own chord speaks for it.
void addTriads(const float* chroma, float* major, float* minor)
{
    constexpr float kRoot = 0.75f;
    constexpr float kOther = 0.5f;
    for (std::size_t i = 0; i < kPitchClasses; ++i) {
        const float rootAndFifth = chroma[i] * kRoot + chroma[above(i, 7)] * kOther;
        major[i] += rootAndFifth + chroma[above(i, 4)] * kOther;
        minor[i] += rootAndFifth + chroma[above(i, 3)] * kOther;
    }
}

/// Each key shares in the scores of its neighbours: a fifth up and down, and the relative key.
void blendNeighbours(float* major, float* minor)
{
    constexpr float kOwn = 0.8f;
    constexpr float kFifth = 0.08f;
    constexpr float kRelative = 0.04f;
    std::array<float, kPitchClasses> oldMajor;
    std::array<float, kPitchClasses> oldMinor;
    std::copy_n(major, kPitchClasses, oldMajor.begin());
    std::copy_n(minor, kPitchClasses, oldMinor.begin());
    for (std::size_t i = 0; i < kPitchClasses; ++i) {
        major[i] = oldMajor[i] * kOwn + oldMajor[above(i, 7)] * kFifth + oldMajor[above(i, 5)] * kFifth +
                   oldMinor[above(i, 9)] * kRelative;
        minor[i] = oldMinor[i] * kOwn + oldMinor[above(i, 7)] * kFifth + oldMinor[above(i, 5)] * kFifth +
                   oldMajor[above(i, 3)] * kRelative;
    }
}

/// How far the best key stands out from the second best; from 0.0004 on it could not be clearer.
float strengthOf(const float* scores, const BestKey& best)
{
    CKeyRecognition::Scores others;
    std::copy_n(scores, kKeys, others.begin());
    if (best.key >= 0)
        others[static_cast<std::size_t>(best.key)] = 0.0f;
    const float second = bestKey(others.data()).score;
    return std::min(1.0f, std::sqrt(best.score - second) * 50.0f);
}

}  // namespace

BestKey bestKey(const float* scores24)
{
    BestKey best{-1, kLowest};
    for (int key = 0; key < kKeys; ++key) {
        if (scores24[key] > best.score)
            best = {key, scores24[key]};
    }
    return best;
}

void CKeyRecognition::update(float* chroma, int keepAverages)
{
    if (keepAverages == 0 && !averages_) {
        profiles_ = keyProfiles();
        const auto average = [] {
            return CMovingAverage(kHistoryLength, kKeys, CMovingAverage::kTriangular);
        };
        averages_ = std::make_unique<Averages>(Averages{average(), average(), average(), average()});
    }
    for (int set = 0; set < kProfileSets; ++set) {
        const auto s = static_cast<std::size_t>(set);
        score(chroma, scores_[s].data(), set);
        if (keepAverages == 0)
            (*averages_)[s].push(scores_[s].data());
    }
}

void CKeyRecognition::score(float* chroma, float* out24, int set) const
{
    const KeyProfilePair& profiles = profiles_[static_cast<std::size_t>(set)];
    float* const major = out24;
    float* const minor = out24 + kPitchClasses;

    divideBySum(chroma, kPitchClasses);
    for (std::size_t tonic = 0; tonic < kPitchClasses; ++tonic) {
        major[tonic] = match(chroma, tonic, profiles.major);
        minor[tonic] = match(chroma, tonic, profiles.minor);
    }
    addTriads(chroma, major, minor);
    blendNeighbours(major, minor);
    divideBySum(out24, kKeys);
}

const float* CKeyRecognition::opinion(int index) const
{
    const auto set = static_cast<std::size_t>(index % kProfileSets);
    return index < kProfileSets ? scores_[set].data() : (*averages_)[set].means();
}

Status CKeyRecognition::decide(int* keys8, float* strengths8, float* table24) const
{
    if (table24 != nullptr)
        std::fill_n(table24, kKeys, 0.0f);
    if (!averages_)
        return kNotInitialised;

    std::array<int, kKeys> votes{};
    for (int u = 0; u < kOpinions; ++u) {
        const float* scores = opinion(u);
        const BestKey best = bestKey(scores);
        keys8[u] = best.key;
        strengths8[u] = strengthOf(scores, best);

        const int set = u % kProfileSets;
        if (set != 1 && set != 2)
            continue;
        if (best.key >= 0)
            ++votes[static_cast<std::size_t>(best.key)];
        if (table24 != nullptr)
            std::transform(scores, scores + kKeys, table24, table24, std::plus<>());
    }

    const auto winner = std::max_element(votes.begin(), votes.end());
    keys8[0] = static_cast<int>(winner - votes.begin());
    strengths8[0] =
        (strengths8[0] + strengths8[1] + strengths8[2] + strengths8[3]) * static_cast<float>(*winner) / 16.0f;
    if (table24 != nullptr)
        divideBySum(table24, kKeys);
    return kOk;
}

}  // namespace eboKey
