#include "formats/ffmpeg/chainedPackets.h"

#include "formats/readAt.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

constexpr std::size_t kWindowBytes = std::size_t{1} << 18U;
constexpr std::size_t kHeadBytes = 8;  // enough for any head

/// A part of the file in memory that moves forward.
class Window {
public:
    Window(DecoderFeed& feed, std::int64_t end) : feed_(feed), end_(end), bytes_(kWindowBytes) {}

    /// The bytes at the place, up to a head's or the end; empty there and after a failure.
    std::span<const std::uint8_t> at(std::int64_t place)
    {
        const auto wanted = std::min<std::int64_t>(static_cast<std::int64_t>(kHeadBytes), end_ - place);
        if (wanted <= 0)
            return {};
        if (place < start_ || place + wanted > start_ + size_) {
            start_ = place;
            const auto room = std::min<std::int64_t>(static_cast<std::int64_t>(kWindowBytes), end_ - place);
            size_ = readUpTo(feed_, place,
                             std::as_writable_bytes(std::span(bytes_).first(static_cast<std::size_t>(room))));
            if (size_ < wanted)
                return {};
        }
        return std::span(bytes_).subspan(static_cast<std::size_t>(place - start_),
                                         static_cast<std::size_t>(wanted));
    }

private:
    DecoderFeed& feed_;
    const std::int64_t end_;
    std::vector<std::uint8_t> bytes_;
    std::int64_t start_ = 0;
    std::int64_t size_ = 0;
};

}  // namespace

std::optional<ChainedFrames> chainedFrames(DecoderFeed& feed, std::int64_t begin, std::int64_t end,
                                           ParsePacketHeader parse)
{
    Window window(feed, end);
    std::optional<PacketHeader> first;
    std::int64_t frames = 0;
    for (std::int64_t place = begin; place < end;) {
        const auto header = parse(window.at(place));
        if (!header)
            return {};
        if (!first)
            first = header;
        if (header->sampleRate != first->sampleRate || header->frames != first->frames ||
            header->channels != first->channels)
            return {};
        place += header->bytes;
        if (place <= end)
            frames += header->frames;
    }
    return first ? std::optional(ChainedFrames{frames, first->sampleRate}) : std::nullopt;
}
