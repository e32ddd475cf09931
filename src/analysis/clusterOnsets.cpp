#include "analysis/clusterOnsets.h"

#include "analysis/saturatedTrunc.h"

namespace {

constexpr float kWindowMilliseconds = 55.0f;

/// A cluster that further onsets may join.
class OpenCluster {
public:
    explicit OpenCluster(const TransientMap::Entry& onset)
        : cluster_{onset.position, onset.position, bitOf(onset), 1, onset.event.strength},
          anchorBit_(bitOf(onset))
    {}

    [[nodiscard]] bool reaches(const TransientMap::Entry& onset, std::uint64_t window) const
    {
        return onset.position - cluster_.key <= window;
    }

    void join(const TransientMap::Entry& onset)
    {
        const std::uint32_t bit = bitOf(onset);
        cluster_.bandMask |= bit;
        ++cluster_.count;
        cluster_.strength += onset.event.strength;
        if (bit > anchorBit_) {
            anchorBit_ = bit;
            cluster_.position = cluster_.key = onset.position;
        }
    }

    [[nodiscard]] const OnsetCluster& cluster() const { return cluster_; }

private:
    static std::uint32_t bitOf(const TransientMap::Entry& onset) { return 1U << onset.event.band; }

    OnsetCluster cluster_;
    std::uint32_t anchorBit_;  // the highest band so far
};

/// Calls `close` with each cluster but the last.
template <typename Close>
void forEachClosedCluster(const TransientMap& onsets, std::uint64_t window, Close close)
{
    auto onset = onsets.begin();
    OpenCluster current(*onset);
    for (++onset; onset != onsets.end(); ++onset) {
        if (current.reaches(*onset, window)) {
            current.join(*onset);
        } else {
            close(current.cluster());
            current = OpenCluster(*onset);
        }
    }
}

}  // namespace

ClusterSet clusterOnsets(const TransientMap& onsets, float sampleRate)
{
    const auto window = analysis::saturatedTrunc<std::uint64_t>(sampleRate * kWindowMilliseconds * 0.001f);
    ClusterSet all;
    all.rate = sampleRate;

    // Counting first costs less than the copies of a growing list, and the list then has no spare room.
    std::size_t count = 0;
    forEachClosedCluster(onsets, window, [&count](const OnsetCluster&) { ++count; });
    all.clusters.reserve(count);
    forEachClosedCluster(onsets, window, [&all](const OnsetCluster& cluster) { all.append(cluster); });
    return all;
}
