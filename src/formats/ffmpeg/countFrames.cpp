#include "formats/ffmpeg/countFrames.h"

#include "formats/ffmpeg/ffmpegTime.h"
#include "formats/ffmpeg/packetHeaders.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <map>
#include <optional>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace {

/// Frames that the packet tells to leave out at either end.
std::int64_t trimmedFrames(const AVPacket& packet)
{
    constexpr std::size_t kFields = 2 * sizeof(std::uint32_t);
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    return data != nullptr && size >= kFields
               ? std::int64_t{AV_RL32(data)} + std::int64_t{AV_RL32(data + sizeof(std::uint32_t))}
               : 0;
}

/// Adds up the frames of what a decoder finds in a packet: as a rule one block, two where a demuxer could not
/// part them, none in garbage. Decoders pass over zeros in front.
void countBlocks(std::span<const std::uint8_t> bytes, ParsePacketHeader parse,
                 std::map<int, std::int64_t>& framesByRate)
{
    while (!bytes.empty()) {
        if (bytes.front() == 0) {
            bytes = bytes.subspan(1);
            continue;
        }
        const auto header = parse(bytes);
        if (!header || static_cast<std::size_t>(header->bytes) > bytes.size())
            return;
        framesByRate[header->sampleRate] += header->frames;
        bytes = bytes.subspan(static_cast<std::size_t>(header->bytes));
    }
}

}  // namespace

ParsePacketHeader packetHeaderOf(const ffmpegInput& input, int streamIndex)
{
    switch (input.stream(streamIndex).codecpar->codec_id) {
    case AV_CODEC_ID_MP1:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
        return &mpegHeader;
    case AV_CODEC_ID_AAC:
        return input.isContainer("aac") ? &adtsHeader : nullptr;
    default:
        return nullptr;
    }
}

std::int64_t countFrames(ffmpegInput& input, int streamIndex, int sampleRate)
{
    const ffmpeg::Packet packet(av_packet_alloc());
    if (packet == nullptr)
        return 0;
    const AVStream& stream = input.stream(streamIndex);
    const ParsePacketHeader parse = packetHeaderOf(input, streamIndex);
    std::int64_t ticks = 0;                    // of packets that tell their duration
    std::map<int, std::int64_t> framesByRate;  // of those with a head
    std::int64_t trimmed = 0;
    for (; input.readPacket(streamIndex, *packet); av_packet_unref(packet.get())) {
        if (parse == nullptr) {
            if (packet->duration > 0 && ticks <= std::numeric_limits<std::int64_t>::max() - packet->duration)
                ticks += packet->duration;
            continue;
        }
        countBlocks({packet->data, static_cast<std::size_t>(packet->size)}, parse, framesByRate);
        trimmed += trimmedFrames(*packet);
    }
    std::int64_t frames = ffmpeg::toFrames(ticks, stream.time_base, sampleRate);
    for (const auto& [rate, count] : framesByRate)
        frames += av_rescale(count, sampleRate, rate);
    return frames - trimmed;
}
