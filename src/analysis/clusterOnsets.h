#pragma once

#include "analysis/ClusterSet.h"
#include "analysis/TransientMap.h"

/// Joins the onsets of all bands that lie within 55 ms into clusters. An onset in a band above all those of
/// its cluster takes over the cluster's time, and the 55 ms count from there. The last cluster of the track
/// is left out, since the recording may end in the middle of it.
/// @param onsets      at least one
/// @param sampleRate  Hz
[[nodiscard]] ClusterSet clusterOnsets(const TransientMap& onsets, float sampleRate);
