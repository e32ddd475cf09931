#pragma once

#include <cstddef>

/// The mean of all channels, frame by frame: the samples are added from the first channel to the last and the
/// sum is multiplied by 1 / channels, all in single precision. A result that is not finite becomes 0, so that
/// one broken sample cannot spread through filters that remember.
/// @param interleaved frames x channels samples
/// @param mono frames samples; may not overlap the source
void mixToMono(const float* interleaved, float* mono, std::size_t frames, std::size_t channels);

/// The same for two channels that lie apart.
void mixToMono(const float* left, const float* right, float* mono, std::size_t frames);
