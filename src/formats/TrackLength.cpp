#include "formats/TrackLength.h"

#include <algorithm>
#include <limits>

TrackLength TrackLength::stated(std::int64_t frames) { return {frames, frames, Source::kStated, false}; }

TrackLength TrackLength::counted(std::int64_t frames, std::int64_t statedFrames)
{
    return {frames, statedFrames, Source::kCounted, false};
}

TrackLength TrackLength::searched(std::int64_t frames, std::int64_t statedFrames)
{
    return {frames, statedFrames, Source::kSearched, false};
}

TrackLength TrackLength::failed() { return {0, 0, Source::kStated, true}; }

std::uint32_t TrackLength::announcedFrames() const
{
    constexpr std::int64_t kLast = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp(frames_, std::int64_t{0}, kLast));
}

TrackLength::Verdict TrackLength::verdict() const
{
    if (hasFailed_)
        return Verdict::kFailed;
    return frames_ > 0 && frames_ <= kMostFrames ? Verdict::kComplete : Verdict::kImplausible;
}

TrackLength::Ending TrackLength::endingAfter(std::int64_t decodedFrames, std::int64_t sampleRate) const
{
    constexpr std::int64_t kPaddingPerSecond = 10;
    const std::int64_t padding = sampleRate / kPaddingPerSecond;
    if (statedFrames_ <= 0)
        return Ending::kAsStated;
    if (decodedFrames < statedFrames_ - padding)
        return Ending::kEarly;
    return decodedFrames > statedFrames_ + padding ? Ending::kLate : Ending::kAsStated;
}
