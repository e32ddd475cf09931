#include "formats/FrameCursor.h"

#include <utility>

FrameCursor::FrameCursor(std::unique_ptr<BlockDecoder> decoder, OpenDecoder reopen)
    : decoder_(std::move(decoder)), reopen_(std::move(reopen))
{}

void FrameCursor::advance(std::int64_t frames)
{
    consumed_ += frames;
    position_ += frames;
}

BlockDecoder::Step FrameCursor::nextBlock()
{
    blockFrames_ = consumed_ = 0;
    const BlockDecoder::Step step = decoder_->next();
    if (step == BlockDecoder::Step::kBlock)
        blockFrames_ = decoder_->blockFrames();
    hasFailed_ = hasFailed_ || step == BlockDecoder::Step::kFailed;
    if (step == BlockDecoder::Step::kFailed)
        forgetPlace();
    return step;
}

bool FrameCursor::goTo(std::int64_t frame)
{
    if (decoder_ == nullptr)
        return startOver() && dropUpTo(frame);
    if (frame == position_)
        return true;
    const std::int64_t blockStart = position_ - consumed_;
    if (position_ != kUnknownPosition && frame >= blockStart && frame < blockStart + blockFrames_) {
        advance(frame - position_);
        return true;
    }
    const BlockDecoder::Arrival arrival = decoder_->goTo(frame);
    if (arrival == BlockDecoder::Arrival::kStayed) {
        position_ = frame;
        return true;
    }
    forgetPlace();
    switch (arrival) {
    case BlockDecoder::Arrival::kNowhere:
        return false;
    case BlockDecoder::Arrival::kNotBehind:
        if (nextBlock() != BlockDecoder::Step::kBlock)
            return false;
        position_ = decoder_->blockStart();
        if (position_ != BlockDecoder::kUnknownFrame && position_ <= frame)
            return dropUpTo(frame);
        break;
    case BlockDecoder::Arrival::kUnknown:
    case BlockDecoder::Arrival::kStayed:
        break;
    }
    return startOver() && dropUpTo(frame);
}

/// Leaves out what comes before the frame. Without that frame the place is forgotten.
bool FrameCursor::dropUpTo(std::int64_t frame)
{
    while (position_ < frame) {
        if (framesLeft() == 0 && nextBlock() != BlockDecoder::Step::kBlock) {
            forgetPlace();
            return false;
        }
        advance(std::min(frame - position_, framesLeft()));
    }
    return true;
}

bool FrameCursor::startOver()
{
    decoder_.reset();  // two of them cannot share the file
    forgetPlace();
    if (reopen_)
        decoder_ = reopen_();
    position_ = decoder_ != nullptr ? 0 : kUnknownPosition;
    hasFailed_ = hasFailed_ || decoder_ == nullptr;
    return decoder_ != nullptr;
}

void FrameCursor::forgetPlace()
{
    position_ = kUnknownPosition;
    blockFrames_ = consumed_ = 0;
}
