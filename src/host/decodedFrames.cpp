#include "host/decodedFrames.h"

#include <algorithm>
#include <cmath>

namespace tunesift::host {
namespace {

// What a worker's progress stands at behind the last block of the announced length.
constexpr double kShareOfBlocks = 0.96;

}  // namespace

std::optional<qint64> decodedFrames(double share, qint64 frames)
{
    constexpr qint64 kLongestTrack = qint64{1} << 32;
    if (frames <= kBlockFrames || frames > kLongestTrack)
        return {};  // of a single block there is no progress
    const qint64 blocks = (frames - 1) / kBlockFrames + 1;
    const double lastBlock = std::clamp(share / kShareOfBlocks, 0.0, 1.0) * static_cast<double>(blocks - 1);
    return std::min(frames, (std::llround(lastBlock) + 1) * kBlockFrames);
}

}  // namespace tunesift::host
