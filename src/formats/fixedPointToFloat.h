#pragma once

#include <cstddef>
#include <cstdint>

/// Whole-numbered samples as float, every operation in single precision.

/// Frames `first` to `first` + `frames` of the planes, one per channel, interleaved: each sample times the
/// scale.
/// @param target frames x channels samples
void interleaveScaled(const std::int32_t* const* planes, std::size_t channels, std::size_t first,
                      std::size_t frames, float scale, float* target);

/// Each sample divided by the divisor.
void divide(const std::int16_t* samples, std::size_t count, float divisor, float* target);
