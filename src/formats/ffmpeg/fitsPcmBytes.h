#pragma once

#include "formats/DecoderFeed.h"

#include <cstdint>

/// Whether PCM that begins at a byte of an AIFF file can be as many bytes long as stated: to within a
/// sixteenth of what is left of the file, or because the file itself says that it once was longer. Moves the
/// file's position.
[[nodiscard]] bool fitsPcmBytes(DecoderFeed& feed, std::int64_t firstByte, std::int64_t statedBytes);
