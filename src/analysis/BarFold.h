#pragma once

#include "analysis/ClusterSet.h"

#include <cstdint>
#include <vector>

/// Folds the clusters of a track into one bar at a tempo, to see how well they line up. A cluster without a
/// companion one bar later or earlier does not take part. The object keeps the room of its result from fold
/// to fold; it refers to the clusters it was made for.
class BarFold {
public:
    /// @param all  the clusters of the whole track
    explicit BarFold(const ClusterSet& all) : all_(all) {}

    /// The fold at a tempo. Places in the bar are counted in steps of a beat divided by 2 to the power of
    /// `shift`; the fold is empty if such a step is shorter than a sample. A `beatPeriod` that would make a
    /// bar too long for 32 bits is cut down to the longest that does not.
    /// @return valid until the next fold
    const ClusterSet& fold(std::uint32_t shift, float bpm);

    /// The clusters of the whole track.
    [[nodiscard]] const ClusterSet& clusters() const { return all_; }

private:
    class CompanionSearch;

    void add(const OnsetCluster& cluster, std::uint32_t bin, std::uint32_t step);
    void collect();

    const ClusterSet& all_;
    std::vector<OnsetCluster> bins_;  // by place in the bar; a count of 0 marks an empty one
    ClusterSet result_;
};
