#include "formats/eboDecodedFileReader.h"

#include "formats/FrameTarget.h"

#include <limits>
#include <utility>

namespace {

constexpr std::uint64_t kLastFrame = std::numeric_limits<std::uint32_t>::max();

}  // namespace

eboDecodedFileReader::eboDecodedFileReader(ebo::refptr<eboFile> file, const char* decoder,
                                           const DecodingOptions& options, std::int64_t mostBytesPerCall)
    : options_(options), file_(std::move(file), decoder), feed_(*file_, options.stopCheck, mostBytesPerCall)
{}

eboDecodedFileReader::~eboDecodedFileReader() = default;

void eboDecodedFileReader::play(std::unique_ptr<BlockDecoder> decoder, FrameCursor::OpenDecoder reopen,
                                std::uint32_t channels, std::uint32_t sampleRate, const TrackLength& length)
{
    cursor_ = FrameCursor(std::move(decoder), std::move(reopen));
    channels_ = channels;
    sampleRate_ = sampleRate;
    length_ = length;
}

void eboDecodedFileReader::close()
{
    playNothing();
    file_.close();
}

std::uint64_t eboDecodedFileReader::readInterleaved(float* target, std::uint64_t firstSample,
                                                    std::uint64_t sampleCount)
{
    return static_cast<std::uint64_t>(deliverInterleaved(target, firstSample, sampleCount).frames) *
           channels_;
}

FrameCursor::Delivery eboDecodedFileReader::deliverInterleaved(float* target, std::uint64_t firstSample,
                                                               std::uint64_t sampleCount)
{
    if (channels_ == 0 || firstSample % channels_ != 0 || firstSample / channels_ > kLastFrame)
        return {};
    const std::uint64_t frames = sampleCount / channels_;
    FrameTarget room(target, frames, channels_);
    const auto delivery =
        deliver(static_cast<std::int64_t>(firstSample / channels_), static_cast<std::int64_t>(frames),
                [&](std::int64_t first, std::int64_t count, std::int64_t /*done*/) {
                    return decoder()->interleave(first, count, room);
                });
    room.finish();
    return delivery;
}
