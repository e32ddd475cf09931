#pragma once

#include "formats/FrameTarget.h"

#include <cstdint>

/// A decoder library with one stream of a file, as FrameCursor uses it: it decodes block after block, and can
/// be sent near a place. Frames are counted from the first that a plain decode delivers. One thread at a
/// time.
class BlockDecoder {
public:
    static constexpr std::int64_t kUnknownFrame = -1;

    enum class Step {
        kBlock,  ///< There is one more.
        kEnd,    ///< The data have ended.
        kFailed  ///< Where the decoder stands is not known any more.
    };

    enum class Arrival {
        kNotBehind,  ///< The next block begins at or before the frame, if it can tell.
        kUnknown,    ///< Somewhere else: the frame is found by counting from the start only.
        kStayed,     ///< Nowhere else: the block is as it was, and what is left of it passes for the frame.
        kNowhere     ///< There is nothing at that frame.
    };

    virtual ~BlockDecoder() = default;

    /// Decodes the next block, in place of the one before.
    virtual Step next() = 0;

    /// Frames of the block, above 0 after kBlock.
    [[nodiscard]] virtual std::int64_t blockFrames() const = 0;

    /// The first frame of the block by what the file says, kUnknownFrame if that is nothing. Asked for after
    /// goTo only: in sequence each block follows the one before, whatever numbers they bear.
    [[nodiscard]] virtual std::int64_t blockStart() const = 0;

    /// Leaves the block, unless it answers kStayed, and goes to a place that is not behind the frame, near
    /// enough for the decoder to have found its state when it comes there.
    virtual Arrival goTo(std::int64_t frame) = 0;

    /// Puts frames of the block into the target as interleaved float.
    /// @param first  in the block
    /// @param count  at most the target's framesLeft
    /// @return false after a failure
    virtual bool interleave(std::int64_t first, std::int64_t count, FrameTarget& target) = 0;

protected:
    BlockDecoder() = default;
    BlockDecoder(const BlockDecoder&) = default;
    BlockDecoder& operator=(const BlockDecoder&) = default;
};
