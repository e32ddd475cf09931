#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// The buffer of one read, filled from its start. It has room for its frames at the reader's channel count;
/// frames of another count may be put into it as well, and what is beyond its end is dropped.
class FrameTarget {
public:
    /// Where frames go, and how many of them fit.
    struct Room {
        float* samples;
        std::size_t frames;
    };

    FrameTarget() = default;
    FrameTarget(float* samples, std::uint64_t frames, std::size_t channels)
        : next_(samples), end_(samples + frames * channels), framesLeft_(frames), channels_(channels)
    {}

    /// Frames that are still wanted.
    [[nodiscard]] std::uint64_t framesLeft() const { return framesLeft_; }

    /// Counts `frames` frames, at most framesLeft, as delivered. The caller fills the room.
    [[nodiscard]] Room put(std::uint64_t frames, std::size_t channels)
    {
        const Room room = {next_, std::min(static_cast<std::size_t>(frames),
                                           static_cast<std::size_t>(end_ - next_) / channels)};
        next_ += room.frames * channels;
        framesLeft_ -= frames;
        return room;
    }

    /// Makes whatever frames of fewer channels left unfilled silent.
    void finish()
    {
        float* const deliveredEnd = end_ - framesLeft_ * channels_;
        if (next_ < deliveredEnd)
            std::fill(next_, deliveredEnd, 0.0f);
    }

private:
    float* next_ = nullptr;
    float* end_ = nullptr;
    std::uint64_t framesLeft_ = 0;
    std::size_t channels_ = 0;
};
