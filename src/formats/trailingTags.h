#pragma once

#include "formats/DecoderFeed.h"

#include <cstdint>

/// Bytes at the end of a file that are tags: ID3v1, Lyrics3 of version 2 and APE, one behind the other in any
/// order. Moves the file's position.
[[nodiscard]] std::int64_t trailingTagBytes(DecoderFeed& feed);

/// Bytes at its start that are ID3 tags of version 2. Moves the file's position.
[[nodiscard]] std::int64_t leadingTagBytes(DecoderFeed& feed);
