#include "formats/ffmpeg/countFrames.h"

#include "formats/ffmpeg/ffmpegTime.h"
#include "formats/ffmpeg/packetHeaders.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>
#include <optional>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace {

/// Frames that packets tell to leave out, as decoders do: what a packet is too short for at its front is left
/// out of the next, at its back nothing is then.
class Trimming {
public:
    void add(const AVPacket& packet, std::int64_t frames)
    {
        constexpr std::size_t kFields = 2 * sizeof(std::uint32_t);
        std::size_t size = 0;
        const std::uint8_t* data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
        const bool isTold = data != nullptr && size >= kFields;
        frontLeft_ += isTold ? std::int64_t{AV_RL32(data)} : 0;
        const std::int64_t back = isTold ? std::int64_t{AV_RL32(data + sizeof(std::uint32_t))} : 0;
        const std::int64_t front = std::min(frontLeft_, frames);
        frontLeft_ -= front;
        trimmed_ += front + (back <= frames - front ? back : 0);
    }

    [[nodiscard]] std::int64_t frames() const { return trimmed_; }

private:
    std::int64_t frontLeft_ = 0;
    std::int64_t trimmed_ = 0;
};

/// Adds up the frames of what a decoder finds in a packet: as a rule one block, two where a demuxer could not
/// part them, none in garbage. Decoders pass over zeros in front. Returns their sum.
std::int64_t countBlocks(std::span<const std::uint8_t> bytes, ParsePacketHeader parse,
                         std::map<int, std::int64_t>& framesByRate)
{
    std::int64_t frames = 0;
    while (!bytes.empty()) {
        if (bytes.front() == 0) {
            bytes = bytes.subspan(1);
            continue;
        }
        const auto header = parse(bytes);
        if (!header || static_cast<std::size_t>(header->bytes) > bytes.size())
            break;
        framesByRate[header->sampleRate] += header->frames;
        frames += header->frames;
        bytes = bytes.subspan(static_cast<std::size_t>(header->bytes));
    }
    return frames;
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
    Trimming trimming;
    for (; input.readPacket(streamIndex, *packet); av_packet_unref(packet.get())) {
        if (parse == nullptr) {
            if (packet->duration > 0 && ticks <= std::numeric_limits<std::int64_t>::max() - packet->duration)
                ticks += packet->duration;
            continue;
        }
        const std::int64_t frames =
            countBlocks({packet->data, static_cast<std::size_t>(packet->size)}, parse, framesByRate);
        trimming.add(*packet, frames);
    }
    std::int64_t total = ffmpeg::toFrames(ticks, stream.time_base, sampleRate);
    for (const auto& [rate, count] : framesByRate)
        total += av_rescale(count, sampleRate, rate);
    return total - trimming.frames();
}
