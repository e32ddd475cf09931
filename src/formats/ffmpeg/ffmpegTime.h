#pragma once

#include <cstdint>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
#include <libavutil/rational.h>
}

/// Time stamps of a stream to frame numbers and back, rounded to nearest in 64 bits: single precision would
/// lose whole frames after a few minutes. The time base and the sample rate must be above 0.
namespace ffmpeg {

/// Frame numbers are kept within this distance from 0, so that sums of a few of them cannot overflow.
inline constexpr std::int64_t kFarthestFrame = std::int64_t{1} << 60U;

[[nodiscard]] inline std::int64_t toFrames(std::int64_t stamp, AVRational timeBase, int sampleRate)
{
    return av_clip64(av_rescale_q_rnd(stamp, timeBase, {1, sampleRate}, AV_ROUND_NEAR_INF), -kFarthestFrame,
                     kFarthestFrame);
}

[[nodiscard]] inline std::int64_t toStamp(std::int64_t frame, AVRational timeBase, int sampleRate)
{
    return av_rescale_q_rnd(frame, {1, sampleRate}, timeBase, AV_ROUND_NEAR_INF);
}

}  // namespace ffmpeg
