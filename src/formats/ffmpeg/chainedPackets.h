#pragma once

#include "formats/DecoderFeed.h"
#include "formats/ffmpeg/packetHeaders.h"

#include <cstdint>
#include <optional>

struct ChainedFrames {
    std::int64_t frames = 0;
    int sampleRate = 0;  ///< Of these frames; the decoder may double both.
};

/// Counts the frames of a stream of packets that follow one another without a gap, all alike in rate and
/// frames, from one byte to another, by hopping from head to head; a last packet that is not complete does
/// not count. Nothing if anything else stands between them: then it takes a demuxer to tell what plays. Moves
/// the file's position.
[[nodiscard]] std::optional<ChainedFrames> chainedFrames(DecoderFeed& feed, std::int64_t begin,
                                                         std::int64_t end, ParsePacketHeader parse);
