#include "analysis/PhaseSearch.h"

#include "analysis/ClusterSet.h"
#include "analysis/saturatedTrunc.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float kToleranceSeconds = 0.020000001f;  // 20 ms
constexpr std::size_t kBins = 64;                  // of the histogram inside a beat

float remainder(std::uint64_t position, std::uint32_t modulus)
{
    return static_cast<float>(position % modulus);
}

/// Whether two phases lie within a tolerance of each other, also across the end of the period.
bool isNear(float phase, float other, float period, float tolerance)
{
    return tolerance > std::abs(phase - other) || tolerance > std::abs(phase + period - other) ||
           tolerance > std::abs(phase - period - other);
}

}  // namespace

PhaseSearch::PhaseSearch(const ClusterSet& all, std::uint32_t beatPeriod)
    : all_(all), period_(beatPeriod), tolerance_(all.rate * kToleranceSeconds)
{}

float PhaseSearch::find(const ClusterSet& fold) const
{
    const float phase = pulledTowardsStart(choose(weightedPhaseNear(peakOf(fold))));
    const float bar = static_cast<float>(period_) * 4.0f;
    const float inBar = std::fmod(phase, bar);
    return inBar < 0.0f ? inBar + bar : inBar;
}

/// The remainder of the entry that last raised the highest bin of a histogram of the entries' remainders.
float PhaseSearch::peakOf(const ClusterSet& fold) const
{
    std::array<float, kBins> bins{};
    float peakValue = 0.0f;
    float peakRemainder = 0.0f;
    for (const OnsetCluster& entry : fold.clusters) {
        const float r = remainder(entry.position, period_);
        const float place = r / static_cast<float>(period_) * 64.0f;
        float& bin = bins[std::min(analysis::saturatedTrunc<std::size_t>(place), kBins - 1)];
        bin += entry.strength;
        if (peakValue < bin) {
            peakValue = bin;
            peakRemainder = r;
        }
    }
    return peakRemainder;
}

/// The mean phase of the clusters that are close to the peak, weighted by their strengths.
PhaseSearch::Candidate PhaseSearch::weightedPhaseNear(float peak) const
{
    const auto period = static_cast<float>(period_);
    float weighted = 0.0f;
    float sum = 0.0f;
    for (const OnsetCluster& cluster : all_.clusters) {
        const float r = remainder(cluster.position, period_);
        const float here = std::abs(r - peak);
        const float above = std::abs(r + period - peak);
        const float below = std::abs(r - period - peak);
        float candidate = r;
        float distance = here;
        if (!(here < above && here < below)) {
            candidate = above < below ? r + period : r - period;
            distance = above < below ? above : below;
        }
        if (tolerance_ > distance) {
            weighted += cluster.strength * candidate;
            sum += cluster.strength;
        }
    }
    // Without any strength there is no mean; the peak then stands for itself.
    return {sum > 0.0f ? weighted / sum : peak, sum};
}

/// The first cluster that is stronger than the mean, or 0.
std::uint64_t PhaseSearch::firstStrongKey() const
{
    float sum = 0.0f;
    for (const OnsetCluster& cluster : all_.clusters)
        sum += cluster.strength;
    const float mean = sum / static_cast<float>(all_.size());
    const auto strong = std::find_if(all_.clusters.begin(), all_.clusters.end(),
                                     [mean](const OnsetCluster& cluster) { return cluster.strength > mean; });
    return strong != all_.clusters.end() ? strong->key : 0;
}

/// The weighted phase, unless the first strong cluster of the track is the better guess.
float PhaseSearch::choose(const Candidate& weighted) const
{
    const std::uint64_t strong = firstStrongKey();
    const float strongPhase = remainder(strong, period_);
    const std::uint32_t bar = 4 * period_;
    const bool strongHasTheBeat = weighted.support < score(period_, strongPhase);
    const bool strongHasTheBar = score(bar, weighted.phase) < score(bar, strongPhase);
    return strongHasTheBeat || strongHasTheBar ? static_cast<float>(strong) : weighted.phase;
}

/// The strength of all clusters close to a phase inside a beat or bar.
float PhaseSearch::score(std::uint32_t modulus, float phase) const
{
    const auto period = static_cast<float>(modulus);
    float sum = 0.0f;
    for (const OnsetCluster& cluster : all_.clusters) {
        if (isNear(remainder(cluster.position, modulus), phase, period, tolerance_))
            sum += cluster.strength;
    }
    return sum;
}

/// A phase close to that of the first cluster moves, by whole beats, forward to the beat nearest to it.
float PhaseSearch::pulledTowardsStart(float phase) const
{
    const auto first = static_cast<float>(all_.clusters.front().key);
    const auto period = static_cast<float>(period_);
    const auto near = static_cast<float>(period_ >> 3U);
    if (!isNear(phase, std::fmod(first, period), period, near))
        return phase;
    const double beats = static_cast<double>((first - phase) / period) + 0.5;
    return phase + static_cast<float>(analysis::saturatedTrunc<std::uint32_t>(beats)) * period;
}

float snappedToBeat(float phase, std::uint32_t beatPeriod, float tolerance)
{
    if (beatPeriod == 0)
        return 0.0f;
    const auto period = static_cast<float>(beatPeriod);
    const float sinceBeat = std::fmod(phase, period);
    if (sinceBeat < tolerance)
        phase -= sinceBeat;
    else if (period - sinceBeat < tolerance)
        phase += period - sinceBeat;
    return std::fmod(phase, 4.0f * period);
}
