#pragma once

#include <ogg/ogg.h>

/// Whether a decoder may be trusted with the codebooks in a Vorbis setup header. libvorbis divides by the
/// dimension of a book, which it takes as it comes, and a few bytes can make it allocate gigabytes.
/// @param setup the third header packet of a stream
[[nodiscard]] bool areVorbisCodebooksSound(const ogg_packet& setup);
