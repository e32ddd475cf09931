#pragma once

#include "formats/FrameTarget.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// Frames that a decoder delivered before anybody wanted them: silence for what is missing, then the rest of
/// one block. Never allocates after its construction.
class FrameBacklog {
public:
    static constexpr std::size_t kMostFrames = 65535;  ///< In one block.
    static constexpr std::size_t kMostChannels = 8;

    FrameBacklog();

    [[nodiscard]] std::uint64_t frames() const { return silentFrames_ + blockFrames_; }

    void clear() { silentFrames_ = blockFrames_ = 0; }

    /// Puts silence in front of the block that comes next.
    void addSilence(std::uint64_t frames) { silentFrames_ += frames; }

    /// Keeps `frames` frames of a block from the frame `first` on; see interleaveScaled. An earlier block
    /// that is still here turns into silence: libFLAC gives several at once only to fill a gap with zeros.
    void keep(const std::int32_t* const* planes, std::size_t channels, std::size_t first, std::size_t frames,
              float scale);

    /// Leaves out that many, at most all, from the front.
    void drop(std::uint64_t frames);

    /// Moves as many frames as are wanted, from the front.
    /// @param channels of the silence
    void moveTo(FrameTarget& target, std::size_t channels);

private:
    std::uint64_t silentFrames_ = 0;
    std::uint64_t blockFrames_ = 0;
    std::size_t blockChannels_ = 0;
    const float* next_ = nullptr;             ///< The first sample of the block that is left.
    const std::unique_ptr<float[]> samples_;  ///< Room for the largest block; untouched pages cost nothing.
};
