#include "formats/ffmpeg/mpegAccount.h"

#include "formats/ffmpeg/packetHeaders.h"
#include "formats/readAt.h"
#include "formats/trailingTags.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string_view>

namespace {

// A page of a remote file, and enough for several packets of any rate.
constexpr std::size_t kSampleBytes = 4096;
constexpr int kPlaces = 32;

// By so much the bytes may differ from what the frames should take.
constexpr std::int64_t kTolerance = 16;

using Sample = std::array<std::uint8_t, kSampleBytes>;

std::uint32_t bigEndian32(std::span<const std::uint8_t> bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value = value << 8U | bytes[i];
    return value;
}

/// Bytes of the whole sound by the first packet, which then is none of the sound: a tag of the kind that Xing
/// or Fraunhofer's encoder began with. 0 where it does not tell.
std::int64_t statedBytes(std::span<const std::uint8_t> packet)
{
    const auto header = mpegHeader(packet);
    if (!header)
        return 0;
    const auto markAt = [&](std::size_t at) {
        return at + 4 <= packet.size()
                   ? std::string_view(reinterpret_cast<const char*>(packet.data()) + at, 4)
                   : std::string_view();
    };
    constexpr std::size_t kHeadBytes = 4;
    constexpr std::size_t kFraunhofer = kHeadBytes + 32;
    if (markAt(kFraunhofer) == "VBRI")
        return bigEndian32(packet.subspan(kFraunhofer + 10));
    const bool isVersion1 = header->frames == 1152;
    const std::size_t sideInformation =
        isVersion1 ? (header->channels == 1 ? 17 : 32) : (header->channels == 1 ? 9 : 17);
    const std::size_t xing = kHeadBytes + sideInformation;
    constexpr std::uint32_t kHasFrames = 1;
    constexpr std::uint32_t kHasBytes = 2;
    if (markAt(xing) != "Xing" && markAt(xing) != "Info")
        return 0;
    const std::uint32_t flags = bigEndian32(packet.subspan(xing + 4));
    if ((flags & kHasBytes) == 0)
        return 0;
    return bigEndian32(packet.subspan(xing + 8 + ((flags & kHasFrames) != 0 ? 4 : 0)));
}

/// Bytes and frames of packets, added up.
struct Sum {
    std::int64_t bytes = 0;
    std::int64_t frames = 0;

    /// Takes the packets that follow one another in the sample, from the first place on where two do.
    void add(std::span<const std::uint8_t> sample)
    {
        for (std::size_t start = 0; start < sample.size(); ++start) {
            const auto first = mpegHeader(sample.subspan(start));
            if (!first || !follows(*first, sample, start))
                continue;
            for (auto header = first;
                 header && start + static_cast<std::size_t>(header->bytes) <= sample.size();
                 header = mpegHeader(sample.subspan(start))) {
                bytes += header->bytes;
                frames += header->frames;
                start += static_cast<std::size_t>(header->bytes);
            }
            return;
        }
    }

private:
    static bool follows(const PacketHeader& header, std::span<const std::uint8_t> sample, std::size_t start)
    {
        const std::size_t next = start + static_cast<std::size_t>(header.bytes);
        const auto other = next < sample.size() ? mpegHeader(sample.subspan(next)) : std::nullopt;
        return other && other->sampleRate == header.sampleRate && other->frames == header.frames;
    }
};

/// Packets at so many places, evenly from begin to end.
Sum samplePackets(DecoderFeed& feed, std::int64_t begin, std::int64_t end, int places)
{
    Sum sum;
    Sample sample;
    for (int i = 0; i < places; ++i) {
        const std::int64_t at = begin + (end - begin) / places * i;
        const std::int64_t count = readUpTo(feed, at, std::as_writable_bytes(std::span(sample)));
        if (count > 0)
            sum.add(std::span(sample).first(static_cast<std::size_t>(std::min(count, end - at))));
    }
    return sum;
}

bool agrees(const Sum& packets, std::int64_t bytes, std::int64_t statedFrames)
{
    if (packets.frames == 0)
        return false;
    const double expected = static_cast<double>(statedFrames) * static_cast<double>(packets.bytes) /
                            static_cast<double>(packets.frames);
    return std::fabs(expected - static_cast<double>(bytes)) <= static_cast<double>(bytes) / kTolerance;
}

}  // namespace

MpegAccount mpegAccount(DecoderFeed& feed, std::int64_t firstPacket, std::int64_t statedFrames)
{
    const std::int64_t end = feed.size() - trailingTagBytes(feed);
    const std::int64_t head = leadingTagBytes(feed);
    Sample sample{};
    if (readUpTo(feed, head, std::as_writable_bytes(std::span(sample))) > 0) {
        const std::int64_t stated = statedBytes(sample);
        if (end - head < stated - stated / kTolerance)
            return MpegAccount::kCutShort;
    }
    for (const int places : {1, kPlaces}) {
        if (agrees(samplePackets(feed, firstPacket, end, places), end - firstPacket, statedFrames))
            return MpegAccount::kFits;
    }
    return MpegAccount::kContradicts;
}
