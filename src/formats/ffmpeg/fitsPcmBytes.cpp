#include "formats/ffmpeg/fitsPcmBytes.h"

#include "formats/readAt.h"

#include <array>
#include <cstddef>
#include <cstdlib>

bool fitsPcmBytes(DecoderFeed& feed, std::int64_t firstByte, std::int64_t statedBytes)
{
    constexpr std::int64_t kTolerance = 16;
    constexpr std::size_t kMarkBytes = 4;
    const std::int64_t left = feed.size() - firstByte;
    if (std::abs(statedBytes - left) <= left / kTolerance)
        return true;
    // Four letters, the size of all that follows: what is missing from it has been cut off.
    std::array<std::uint8_t, 2 * kMarkBytes> head{};
    if (!readAt(feed, 0, head))
        return false;
    std::int64_t size = 0;
    for (std::size_t i = kMarkBytes; i < head.size(); ++i)
        size = size << 8U | head[i];
    const std::int64_t whole = size + static_cast<std::int64_t>(head.size());
    return whole > feed.size() && firstByte + statedBytes <= whole;
}
