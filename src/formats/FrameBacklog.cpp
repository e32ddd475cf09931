#include "formats/FrameBacklog.h"

#include "formats/fixedPointToFloat.h"

#include <algorithm>

FrameBacklog::FrameBacklog() : samples_(std::make_unique_for_overwrite<float[]>(kMostFrames * kMostChannels))
{}

void FrameBacklog::keep(const std::int32_t* const* planes, std::size_t channels, std::size_t first,
                        std::size_t frames, float scale)
{
    silentFrames_ += blockFrames_;
    interleaveScaled(planes, channels, first, frames, scale, samples_.get());
    next_ = samples_.get();
    blockFrames_ = frames;
    blockChannels_ = channels;
}

void FrameBacklog::drop(std::uint64_t frames)
{
    const std::uint64_t silent = std::min(frames, silentFrames_);
    silentFrames_ -= silent;
    blockFrames_ -= frames - silent;
    next_ += (frames - silent) * blockChannels_;
}

void FrameBacklog::moveTo(FrameTarget& target, std::size_t channels)
{
    const std::uint64_t silent = std::min(silentFrames_, target.framesLeft());
    if (silent > 0) {
        const FrameTarget::Room room = target.put(silent, channels);
        std::fill_n(room.samples, room.frames * channels, 0.0f);
        drop(silent);
    }
    const std::uint64_t sounding = std::min(blockFrames_, target.framesLeft());
    if (sounding > 0) {
        const FrameTarget::Room room = target.put(sounding, blockChannels_);
        std::copy_n(next_, room.frames * blockChannels_, room.samples);
        drop(sounding);
    }
}
