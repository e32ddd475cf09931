#include "key/plain/PlainRecognition.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace plain {

namespace {

using Row = std::array<double, 12>;

// Written down anew from the literature's tables, as the check of the other copy.
const Row kScaleMajor{1, 0, 1, 0, 1, 1, 0, 1, 0, 1, 0, 1};
const Row kScaleMinor{1, 0, 1, 1, 0, 1, 0, 1, 1, 0, 0.8, 0.5};
const Row kProbeMajor{6.35, 2.23, 3.48, 2.33, 4.38, 4.09, 2.52, 5.19, 2.39, 3.66, 2.29, 2.88};
const Row kProbeMinor{6.33, 2.68, 3.52, 5.38, 2.60, 3.53, 2.54, 4.75, 3.98, 2.69, 3.34, 3.17};
const Row kProbeMinorChanged{6.35, 2.59, 3.52, 5.38, 2.51, 3.53, 2.45, 5.19, 3.98, 2.60, 3.34, 3.17};
const Row kLaterMajor{5.0, 2.0, 3.5, 2.0, 4.5, 4.0, 2.0, 4.5, 2.0, 3.5, 1.5, 4.0};
const Row kLaterMinor{5.0, 2.0, 3.5, 4.5, 2.0, 4.0, 2.0, 4.5, 3.5, 2.0, 1.5, 4.0};

/// A degree's new weight: its own 2.75 times, a fifth of the degree a major third below, half of the degree a
/// fifth below; then all divided by the sum.
Row withOvertones(const Row& row)
{
    Row result;
    double sum = 0.0;
    for (std::size_t i = 0; i < 12; ++i) {
        result[i] = 2.75 * row[i] + 0.2 * row[(i + 8) % 12] + 0.5 * row[(i + 5) % 12];
        sum += result[i];
    }
    for (double& value : result)
        value /= sum;
    return result;
}

}  // namespace

PlainRecognition::PlainRecognition()
    : templates_{{{withOvertones(kScaleMajor), withOvertones(kScaleMinor)},
                  {withOvertones(kProbeMajor), withOvertones(kProbeMinor)},
                  {withOvertones(kProbeMajor), withOvertones(kProbeMinorChanged)},
                  {withOvertones(kLaterMajor), withOvertones(kLaterMinor)}}}
{}

PlainRecognition::Scores PlainRecognition::score(Chroma chroma, std::size_t set) const
{
    double sum = 0.0;
    for (const double value : chroma)
        sum += value;
    for (double& value : chroma)
        value = sum > 1e-36 ? value / sum : 0.0;

    Scores raw;
    for (std::size_t mode = 0; mode < 2; ++mode) {
        const std::size_t third = mode == 0 ? 4 : 3;
        for (std::size_t r = 0; r < 12; ++r) {
            double squares = 0.0;
            for (std::size_t j = 0; j < 12; ++j)
                squares += std::pow(chroma[(r + j) % 12] - templates_[set][mode][j], 2);
            raw[12 * mode + r] = std::pow(1.0 - std::sqrt(squares), 2) + 0.75 * chroma[r] +
                                 0.5 * chroma[(r + 7) % 12] + 0.5 * chroma[(r + third) % 12];
        }
    }

    Scores scores;
    double total = 0.0;
    for (std::size_t key = 0; key < 24; ++key) {
        const std::size_t mode = key / 12;
        const std::size_t r = key % 12;
        const std::size_t relative = mode == 0 ? 12 + (r + 9) % 12 : (r + 3) % 12;
        scores[key] = 0.8 * raw[key] + 0.08 * raw[12 * mode + (r + 7) % 12] +
                      0.08 * raw[12 * mode + (r + 5) % 12] + 0.04 * raw[relative];
        total += scores[key];
    }
    for (double& value : scores)
        value = total > 1e-36 ? value / total : 0.0;
    return scores;
}

void PlainRecognition::look(const Chroma& chroma)
{
    for (std::size_t set = 0; set < 4; ++set)
        latest_[set] = score(chroma, set);
}

void PlainRecognition::update(const Chroma& chroma)
{
    look(chroma);
    ++count_;
    for (std::size_t set = 0; set < 4; ++set) {
        for (std::size_t key = 0; key < 24; ++key)
            sums_[set][key] += latest_[set][key];
    }
}

PlainRecognition::Decision PlainRecognition::decide() const
{
    Decision decision{};
    std::array<int, 24> votes{};
    double strengths = 0.0;
    for (std::size_t u = 0; u < 8; ++u) {
        Scores scores = u < 4 ? latest_[u] : sums_[u - 4];
        if (u >= 4) {
            for (double& value : scores)
                value /= count_;
        }
        const auto best = std::max_element(scores.begin(), scores.end());
        const auto key = static_cast<std::size_t>(best - scores.begin());
        const double top = *best;
        *best = 0.0;
        decision.margins[u] = top - *std::max_element(scores.begin(), scores.end());
        if (u < 4)
            strengths += std::min(1.0, 50.0 * std::sqrt(decision.margins[u]));
        if (u % 4 == 1 || u % 4 == 2)
            ++votes[key];
    }
    const auto most = std::max_element(votes.begin(), votes.end());
    decision.key = static_cast<int>(most - votes.begin());
    decision.votes = *most;
    decision.strength = strengths * *most / 16.0;
    return decision;
}

}  // namespace plain
