#pragma once

#include <cstdint>

/// Onsets that are heard as one event, or, in a fold, clusters that fall on one place of the bar.
struct OnsetCluster {
    std::uint64_t position;  ///< In samples from the start of the track.
    std::uint64_t key;       ///< What the clusters are ordered by.
    std::uint32_t bandMask;  ///< Bit b is set when band b contributed.
    std::uint32_t count;     ///< Onsets or clusters merged.
    float strength;          ///< Sum of their strengths.
};
