#include "host/gridBeats.h"

#include <algorithm>
#include <cmath>

namespace tunesift::host {
namespace {

/// The evenly spaced beats from one anchor to the next.
struct Segment {
    Segment(const Anchor& from, const Anchor& to)
        : start(from.samplePosition), firstBeat(from.beatNumber), beats(from.beatsToNext),
          beatLength((to.samplePosition - from.samplePosition) / from.beatsToNext)
    {}

    [[nodiscard]] double position(double beatsFromStart) const { return start + beatLength * beatsFromStart; }

    /// How many of the beats, counted from the start, lie below `limit`. The positions never fall, so this
    /// is a search by halving; beats can be billions.
    [[nodiscard]] qint64 countBelow(double limit) const
    {
        qint64 low = 0;
        qint64 high = beats;
        while (low < high) {
            const qint64 middle = low + (high - low) / 2;
            if (position(static_cast<double>(middle)) < limit)
                low = middle + 1;
            else
                high = middle;
        }
        return low;
    }

    double start;       ///< Frames.
    qint64 firstBeat;   ///< Number of the beat at the start.
    qint64 beats;       ///< Up to the next anchor, whose own beat is not among them.
    double beatLength;  ///< Frames.
};

bool leadsOn(const Anchor& from, const Anchor& to)
{
    const Segment segment(from, to);
    // Unsigned, because the difference of two wild numbers need not fit.
    const quint64 beatsBetween = static_cast<quint64>(to.beatNumber) - static_cast<quint64>(from.beatNumber);
    return from.beatsToNext > 0 && beatsBetween == from.beatsToNext && std::isfinite(from.samplePosition) &&
           std::isfinite(to.samplePosition) && std::isfinite(segment.beatLength) && segment.beatLength > 0.0;
}

}  // namespace

bool isUsable(const BeatGrid& grid)
{
    const auto doesNotLeadOn = [](const Anchor& from, const Anchor& to) { return !leadsOn(from, to); };
    return grid.isValid && grid.anchors.size() >= 2 &&
           std::adjacent_find(grid.anchors.begin(), grid.anchors.end(), doesNotLeadOn) == grid.anchors.end();
}

std::optional<double> beatPosition(const BeatGrid& grid, qint64 beatNumber)
{
    if (!isUsable(grid))
        return {};
    const std::vector<Anchor>& anchors = grid.anchors;
    std::size_t from = 0;
    while (from + 2 < anchors.size() && beatNumber >= anchors[from + 1].beatNumber)
        ++from;
    const Segment segment(anchors[from], anchors[from + 1]);
    const double position =
        segment.position(static_cast<double>(beatNumber) - static_cast<double>(segment.firstBeat));
    if (!std::isfinite(position))
        return {};
    return position;
}

std::vector<Beat> beatsBetween(const BeatGrid& grid, double from, double to)
{
    constexpr std::size_t kMost = 1000000;
    std::vector<Beat> beats;
    if (!isUsable(grid))
        return beats;
    for (std::size_t at = 0; at + 1 < grid.anchors.size(); ++at) {
        const Segment segment(grid.anchors[at], grid.anchors[at + 1]);
        const qint64 end = segment.countBelow(to);
        for (qint64 beat = segment.countBelow(from); beat < end && beats.size() < kMost; ++beat)
            beats.push_back({segment.firstBeat + beat, segment.position(static_cast<double>(beat))});
    }
    const Anchor& last = grid.anchors.back();
    if (last.samplePosition >= from && last.samplePosition < to && beats.size() < kMost)
        beats.push_back({last.beatNumber, last.samplePosition});
    return beats;
}

std::optional<qint64> countBeatsInside(const BeatGrid& grid, double frames)
{
    if (!isUsable(grid))
        return {};
    qint64 count = 0;
    for (std::size_t from = 0; from + 1 < grid.anchors.size(); ++from) {
        const Segment segment(grid.anchors[from], grid.anchors[from + 1]);
        count += std::max(qint64{0}, segment.countBelow(frames) - segment.countBelow(0.0));
    }
    const double last = grid.anchors.back().samplePosition;
    return count + (last >= 0.0 && last < frames ? 1 : 0);
}

}  // namespace tunesift::host
