#pragma once

#include "formats/DecoderFeed.h"

/// Whether libvorbisfile may be trusted with a file, which it reads as a whole when it opens it: it takes
/// memory by whatever the headers say, those of chained streams too.
/// @return whether the first Vorbis stream's setup header is there and sound (see areVorbisCodebooksSound),
/// and the
///         file's last page belongs to one of the streams that it begins with
[[nodiscard]] bool isSoundVorbisFile(DecoderFeed& feed);
