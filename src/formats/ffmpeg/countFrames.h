#pragma once

#include "formats/ffmpeg/ffmpegInput.h"

#include "formats/ffmpeg/packetHeaders.h"

#include <cstdint>

/// How the packets of the stream begin; null where its container tells each one's extent.
[[nodiscard]] ParsePacketHeader packetHeaderOf(const ffmpegInput& input, int streamIndex);

/// The length of a stream in frames of the given rate, counted by reading all packets that are left of it;
/// what a plain decode of them plays. In mp3 and in ADTS only packets that begin with a head and are complete
/// count: tags and garbage come as packets, too. Whether the file could be read to its end is
/// ffmpegInput::hasFailed's to tell.
[[nodiscard]] std::int64_t countFrames(ffmpegInput& input, int streamIndex, int sampleRate);
