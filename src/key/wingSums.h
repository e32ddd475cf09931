#pragma once

#include "key/vectorWidth.h"

#include <cstddef>

namespace eboDsp {

/// Outputs of a resampler that are computed side by side.
inline constexpr int kWingLanes = 8;

/// Floats in the weights of a group of outputs: for each n from 0 to wing - 1 the lanes' weights of the n-th
/// input to the left, then of the n-th to the right.
[[nodiscard]] constexpr int groupWeights(int wing) { return wing * 2 * kWingLanes; }

/// Weighted sums for groups of kWingLanes outputs. Output j of the groups has its middle at
/// m = origin + offsets[j] of `in`; its left sum adds the inputs m, m - 1, ... in this order, the right one m
/// + 1, m + 2, ...; out[j] = (left + right) * gain. All forms give the same bits.
///
/// @param in       readable for kWingSlack floats beyond the wings to either side
/// @param offsets  kWingLanes for each group
/// @param weights  groupWeights(wing) for each group
/// @param out      kWingLanes for each group
using WingSums = void (*)(const float* in, std::ptrdiff_t origin, const int* offsets, int groups,
                          const float* weights, int wing, float gain, float* out);

/// The inputs are read four at a time, so that wings of less than four read beyond.
inline constexpr int kWingSlack = 4;

/// The form for a width of vectors that this processor has.
[[nodiscard]] WingSums wingSumsFor(VectorWidth width);

/// Four lanes at a time, on any processor.
void wingSumsBy4(const float* in, std::ptrdiff_t origin, const int* offsets, int groups, const float* weights,
                 int wing, float gain, float* out);

#if defined(__x86_64__)
/// Eight lanes at a time; needs AVX2.
void wingSumsBy8(const float* in, std::ptrdiff_t origin, const int* offsets, int groups, const float* weights,
                 int wing, float gain, float* out);
#endif

}  // namespace eboDsp
