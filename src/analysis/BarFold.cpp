#include "analysis/BarFold.h"

#include "analysis/saturatedTrunc.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kLongestBeatPeriod = 0xFFFFFFFFU / 4;

std::uint32_t beatPeriodOf(float bpm, float sampleRate)
{
    return std::min(analysis::saturatedTrunc<std::uint32_t>(60.0f / bpm * sampleRate), kLongestBeatPeriod);
}

}  // namespace

/// Tells for one cluster after another, in key order, whether there is a cluster a bar away from it. Since
/// the keys grow, so do the places where the companions are, and two cursors that only move forward find them
/// all.
class BarFold::CompanionSearch {
public:
    CompanionSearch(const ClusterSet& all, std::uint32_t bar, std::uint32_t step)
        : later_(all.clusters.data()), earlier_(later_), end_(later_ + all.size()),
          lastKey_(all.empty() ? 0 : all.clusters.back().key), bar_(bar), step_(step)
    {}

    bool hasCompanion(std::uint64_t key) { return hasLater(key) || hasEarlier(key); }

private:
    bool hasLater(std::uint64_t key)
    {
        const std::uint64_t low = key + bar_ - step_;
        const std::uint64_t high = key + bar_ + step_;
        // A companion counts only if the track goes on to the end of the window that it lies in.
        return advance(later_, low, high) && high <= lastKey_;
    }

    bool hasEarlier(std::uint64_t key)
    {
        const std::uint64_t reach = std::uint64_t{bar_} + step_;
        return key >= reach && advance(earlier_, key - reach, key - bar_ + step_);
    }

    bool advance(const OnsetCluster*& cursor, std::uint64_t low, std::uint64_t high) const
    {
        while (cursor != end_ && cursor->key < low)
            ++cursor;
        return cursor != end_ && cursor->key <= high;
    }

    const OnsetCluster* later_;
    const OnsetCluster* earlier_;
    const OnsetCluster* end_;
    std::uint64_t lastKey_;
    std::uint32_t bar_;   // samples
    std::uint32_t step_;  // samples
};

const ClusterSet& BarFold::fold(std::uint32_t shift, float bpm)
{
    const std::uint32_t beatPeriod = beatPeriodOf(bpm, all_.rate);
    const std::uint32_t bar = 4 * beatPeriod;
    const std::uint32_t step = beatPeriod >> shift;
    result_.rate = bpm;
    result_.beatPeriod = beatPeriod;
    result_.clusters.clear();
    if (step == 0)
        return result_;

    bins_.assign((bar - 1) / step + 1, OnsetCluster{});
    CompanionSearch companions(all_, bar, step);
    std::uint64_t barStart = 0;
    for (const OnsetCluster& cluster : all_.clusters) {
        if (!companions.hasCompanion(cluster.key))
            continue;
        // The start of the cluster's bar, with a division only where a new bar begins.
        if (cluster.key - barStart >= bar)
            barStart = cluster.key / bar * bar;
        const auto placeInBar = static_cast<std::uint32_t>(cluster.key - barStart);
        add(cluster, placeInBar / step, step);
    }
    collect();
    return result_;
}

void BarFold::add(const OnsetCluster& cluster, std::uint32_t bin, std::uint32_t step)
{
    OnsetCluster& entry = bins_[bin];
    if (entry.count == 0) {
        entry = cluster;
        entry.position = cluster.key;
        entry.key = std::uint64_t{bin} * step;
        return;
    }
    const float sum = cluster.strength + entry.strength;
    if (!(entry.strength > sum))
        entry.position = cluster.key;
    entry.strength = sum;
    entry.bandMask |= cluster.bandMask;
    entry.count += cluster.count;
}

void BarFold::collect()
{
    for (const OnsetCluster& bin : bins_) {
        if (bin.count != 0)
            result_.append(bin);
    }
}
