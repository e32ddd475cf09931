#pragma once

#include "analysis/OnsetCluster.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Clusters in ascending order of their keys, each key once: those of a whole track, whose keys are their
/// positions, or a fold of them into one bar, whose keys are places in the bar.
struct ClusterSet {
    using Iterator = std::vector<OnsetCluster>::const_iterator;

    /// Adds a cluster whose key is above all others.
    void append(const OnsetCluster& cluster)
    {
        assert(clusters.empty() || clusters.back().key < cluster.key);
        clusters.push_back(cluster);
    }

    /// The first cluster with a key of at least `key`, or the end.
    [[nodiscard]] Iterator firstNotBelow(std::uint64_t key) const;

    /// The first cluster with a key above `key`, or the end.
    [[nodiscard]] Iterator firstAbove(std::uint64_t key) const;

    [[nodiscard]] std::size_t size() const { return clusters.size(); }
    [[nodiscard]] bool empty() const { return clusters.empty(); }

    float rate = 0.0f;             ///< Sample rate in Hz for a whole track, tempo in BPM for a fold.
    std::uint32_t beatPeriod = 0;  ///< Samples per beat; only set in a fold.
    std::vector<OnsetCluster> clusters;
};
