#include "analysis/TempoScan.h"

#include "analysis/BarFold.h"
#include "analysis/ClusterSet.h"
#include "analysis/saturatedTrunc.h"

#include <algorithm>

namespace {

constexpr float kStepCount = 50.0f;
constexpr float kSmallest = 1e-32f;  // keeps an empty sum from dividing by 0

float beatTrain(const ClusterSet& fold, std::uint64_t phase, std::uint64_t width, std::uint64_t lastPosition)
{
    // A fold has keys inside one bar only, and a window that reaches past the highest of them adds nothing:
    // the few beats before that are all that can score.
    const std::uint64_t highestKey = fold.clusters.back().key;
    float sum = 0.0f;
    for (std::uint64_t beat = phase; beat <= lastPosition && beat + width < highestKey;
         beat += fold.beatPeriod) {
        const auto first = fold.firstNotBelow(beat > width ? beat - width : 0);
        const auto last = fold.firstAbove(beat + width);
        for (auto cluster = first; cluster != last; ++cluster)
            sum += static_cast<float>(cluster->count) * cluster->strength;
    }
    return sum;
}

}  // namespace

float bestBeatTrain(const ClusterSet& fold, std::uint64_t lastPosition, std::uint32_t shift)
{
    if (fold.empty())
        return 0.0f;
    const std::uint32_t step = fold.beatPeriod >> shift;  // above 0, or the fold were empty
    const std::uint32_t width = (step >> 2U) + 1;
    float best = 0.0f;
    for (std::uint64_t phase = 0; phase < fold.beatPeriod; phase += step)
        best = std::max(best, beatTrain(fold, phase, width, lastPosition));
    return best;
}

float TempoScan::tempoAt(int step) const
{
    return low_ + (static_cast<float>(step) / kStepCount) * (high_ - low_);
}

void TempoScan::run(BarFold& fold, std::uint64_t lastPosition, std::uint32_t shift)
{
    for (int i = 0; i < kSteps; ++i) {
        const float best = bestBeatTrain(fold.fold(shift, tempoAt(i)), lastPosition, shift);
        scores_[static_cast<std::size_t>(i)] += best;
        total_ += best;
    }
}

float TempoScan::centroid(float fiftyReach) const
{
    const auto peak = static_cast<int>(std::max_element(scores_.begin(), scores_.end()) - scores_.begin());
    // At most the whole scan to either side: at tempi so high that the window has no width left, the
    // quotient has no end.
    const int half = std::min(analysis::saturatedTrunc<int>(fiftyReach / (high_ - low_) + 0.5f), kSteps);
    if (peak - half >= peak + half)
        return 0.0f;

    float sum = 0.0f;
    float weighted = 0.0f;
    for (int i = peak - half; i < peak + half; ++i) {
        const float score = scores_[static_cast<std::size_t>((i + kSteps) % kSteps)];
        sum += score;
        weighted += tempoAt(i) * score;
    }
    return weighted / (sum + kSmallest);
}
