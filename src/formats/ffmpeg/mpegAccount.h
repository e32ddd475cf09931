#pragma once

#include "formats/DecoderFeed.h"

#include <cstdint>

/// Whether the bytes of an mp3 can hold the frames that its head states.
enum class MpegAccount {
    kFits,        ///< To within a sixteenth, tags left out.
    kCutShort,    ///< The head states more bytes, too: they are missing, and so is the sound.
    kContradicts  ///< The head states another number of frames than there are.
};

/// Goes by the size of the first packets, and where that does not fit, as with a rate that varies, by packets
/// from all over the file. Moves the file's position.
/// @param firstPacket  where the first packet of sound begins, in bytes
/// @param statedFrames  with the encoder's priming
[[nodiscard]] MpegAccount mpegAccount(DecoderFeed& feed, std::int64_t firstPacket, std::int64_t statedFrames);
