#include "analysis/ClusterSet.h"

#include <algorithm>

ClusterSet::Iterator ClusterSet::firstNotBelow(std::uint64_t key) const
{
    return std::lower_bound(
        clusters.begin(), clusters.end(), key,
        [](const OnsetCluster& cluster, std::uint64_t value) { return cluster.key < value; });
}

ClusterSet::Iterator ClusterSet::firstAbove(std::uint64_t key) const
{
    return std::upper_bound(
        clusters.begin(), clusters.end(), key,
        [](std::uint64_t value, const OnsetCluster& cluster) { return value < cluster.key; });
}
