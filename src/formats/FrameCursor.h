#pragma once

#include "formats/BlockDecoder.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>

/// Where a reader stands in its track, and how it gets elsewhere. Reading on from where the last read ended
/// never seeks and goes by this count alone, whatever the library believes its place to be. Any other frame
/// is looked for in the block at hand, then by the decoder, and where that does not find it, by starting over
/// and counting. One thread at a time.
class FrameCursor {
public:
    /// Makes a decoder that stands at the first frame; null if the file cannot be read any more.
    using OpenDecoder = std::function<std::unique_ptr<BlockDecoder>()>;

    struct Delivery {
        std::int64_t frames = 0;
        bool hasFailed = false;  ///< It ended early, and not because the data did.
    };

    /// Without a decoder there is nothing to read.
    FrameCursor() = default;

    /// @param decoder stands at the first frame
    /// @param reopen  for starting over; two decoders never exist at once
    FrameCursor(std::unique_ptr<BlockDecoder> decoder, OpenDecoder reopen);

    /// Delivers frames by use(first in the decoder's block, count, frames delivered before), which says
    /// whether it succeeded.
    template <typename Use>
    Delivery deliver(std::int64_t firstFrame, std::int64_t frames, Use use)
    {
        hasFailed_ = false;
        if (!goTo(firstFrame))
            return {0, hasFailed_};  // there may simply be nothing at that frame
        std::int64_t done = 0;
        while (done < frames) {
            if (framesLeft() == 0) {
                const BlockDecoder::Step step = nextBlock();
                if (step != BlockDecoder::Step::kBlock)
                    return {done, step == BlockDecoder::Step::kFailed};
            }
            const std::int64_t count = std::min(frames - done, framesLeft());
            if (!use(consumed_, count, done)) {
                forgetPlace();
                return {done, true};
            }
            advance(count);
            done += count;
        }
        return {done, false};
    }

    /// Null when there is none.
    [[nodiscard]] BlockDecoder* decoder() const { return decoder_.get(); }

private:
    static constexpr std::int64_t kUnknownPosition = -1;

    [[nodiscard]] std::int64_t framesLeft() const { return blockFrames_ - consumed_; }
    void advance(std::int64_t frames);
    BlockDecoder::Step nextBlock();
    bool goTo(std::int64_t frame);
    bool dropUpTo(std::int64_t frame);
    bool startOver();
    void forgetPlace();

    std::unique_ptr<BlockDecoder> decoder_;
    OpenDecoder reopen_;
    std::int64_t position_ = 0;     ///< The frame that comes next, or kUnknownPosition.
    std::int64_t blockFrames_ = 0;  ///< Of the decoder's block; 0 when it has none.
    std::int64_t consumed_ = 0;     ///< How many of them have been delivered or dropped.
    bool hasFailed_ = false;        ///< The decoder has, since the last delivery began.
};
