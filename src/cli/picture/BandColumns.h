#pragma once

#include "cli/picture/TrackWaves.h"

#include <array>
#include <vector>

namespace tunesift::cli {

/// The levels of one column of a picture, 0 to 1: low, middle, high.
using BandLevels = std::array<double, 3>;

/// The stretch of a track that a picture shows, in frames.
struct Stretch {
    double from = 0.0;
    double to = 0.0;

    [[nodiscard]] double length() const { return to - from; }
};

/// The levels of `count` columns side by side over the stretch: where a column covers several entries, the
/// highest of each band; where it covers less than one, what lies between its neighbours.
/// @param isWhole  whether the overview does; otherwise the high-resolution wave is taken
[[nodiscard]] std::vector<BandLevels> bandColumns(const TrackWaves& waves, const Stretch& stretch, int count,
                                                  bool isWhole);

}  // namespace tunesift::cli
