#pragma once

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
}

/// Converts decoded audio to interleaved float, full scale being 1.0. Every sample is converted on its own,
/// to the same bits that libswresample gives, but nothing is held back and nothing is set up.
/// @param first the first frame (moment) of the decoded block to convert
/// @param count frames to convert
/// @param target count x channels samples
void interleave(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* target);
