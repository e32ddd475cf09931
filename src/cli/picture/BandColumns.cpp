#include "cli/picture/BandColumns.h"

#include <algorithm>
#include <cmath>

namespace tunesift::cli {
namespace {

constexpr double kFullScale = 255.0;

template <typename Entry>
BandLevels levelsOf(const Entry& entry)
{
    return {entry[0] / kFullScale, entry[1] / kFullScale, entry[2] / kFullScale};
}

/// Between two entries, at a position that counts from the middle of the first one.
template <typename Entry>
BandLevels between(const std::vector<Entry>& entries, double position)
{
    const double last = static_cast<double>(entries.size() - 1);
    const double clamped = std::clamp(position, 0.0, last);
    const auto first = static_cast<std::size_t>(clamped);
    const BandLevels a = levelsOf(entries[first]);
    const BandLevels b = levelsOf(entries[std::min(first + 1, entries.size() - 1)]);
    const double share = clamped - static_cast<double>(first);
    BandLevels levels{};
    for (std::size_t band = 0; band < levels.size(); ++band)
        levels[band] = a[band] + (b[band] - a[band]) * share;
    return levels;
}

template <typename Entry>
BandLevels highest(const std::vector<Entry>& entries, double from, double to)
{
    const auto first = static_cast<std::size_t>(from);
    const auto end = std::min(static_cast<std::size_t>(std::ceil(to)), entries.size());
    BandLevels levels{};
    for (std::size_t i = first; i < end; ++i) {
        const BandLevels entry = levelsOf(entries[i]);
        for (std::size_t band = 0; band < levels.size(); ++band)
            levels[band] = std::max(levels[band], entry[band]);
    }
    return levels;
}

template <typename Entry>
std::vector<BandLevels> columns(const std::vector<Entry>& entries, double framesPerEntry,
                                const Stretch& stretch, int count)
{
    std::vector<BandLevels> result(static_cast<std::size_t>(count));
    if (entries.empty() || !(framesPerEntry > 0.0))
        return result;
    const double perColumn = stretch.length() / framesPerEntry / count;
    const double most = static_cast<double>(entries.size());
    for (std::size_t column = 0; column < result.size(); ++column) {
        const double from = stretch.from / framesPerEntry + perColumn * static_cast<double>(column);
        constexpr double kMiddle = 0.5;
        if (from < 0.0 || from >= most)
            continue;
        result[column] = perColumn >= 1.0 ? highest(entries, from, std::min(from + perColumn, most))
                                          : between(entries, from + perColumn * kMiddle - kMiddle);
    }
    return result;
}

}  // namespace

std::vector<BandLevels> bandColumns(const TrackWaves& waves, const Stretch& stretch, int count, bool isWhole)
{
    if (isWhole)
        return columns(waves.overview, waves.framesPerOverviewEntry, stretch, count);
    return columns(waves.highResolution, waves.framesPerEntry, stretch, count);
}

}  // namespace tunesift::cli
