#include "key/CResampleBase.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

// A position in the table is a whole number of 1/128 entries; the time between two frames has 32768 steps.
constexpr int kEntryBits = 7;
constexpr int kEntry = 1 << kEntryBits;
constexpr int kEntryMask = kEntry - 1;
constexpr int kFrameBits = 15;
constexpr int kFrame = 1 << kFrameBits;

/// Positions that the table has.
int tableEnd(int quality) { return (quality * eboDsp::kSincEntriesPerCrossing) << kEntryBits; }

/// From the weight of one input to that of the next, in table positions; 0 if the sinc would have to be
/// stretched more than positions can tell.
int tableStep(int inputRate, int outputRate)
{
    constexpr int kFullBand = eboDsp::kSincEntriesPerCrossing << kEntryBits;
    if (outputRate > inputRate)
        return kFullBand;
    return static_cast<int>(std::lround(static_cast<double>(outputRate) / inputRate * kFullBand));
}

/// The left wing's longest form begins at its output; no right wing has more inputs.
int wingLength(int quality, int step) { return (tableEnd(quality) + step - 1) / step; }

std::int64_t outputsOf(int frames, int inputRate, int outputRate)
{
    return (static_cast<std::int64_t>(frames) * outputRate + inputRate - 1) / inputRate;
}

}  // namespace

bool CResampleBase::isPossible(int inputRate, int outputRate, int quality, int maxBlock)
{
    if (inputRate <= 0 || outputRate <= 0 || quality < 1 || quality > kBestQuality || maxBlock <= 0 ||
        maxBlock > kLongestBlock || outputsOf(maxBlock, inputRate, outputRate) > kLongestBlock)
        return false;
    const int step = tableStep(inputRate, outputRate);
    return step > 0 && wingLength(quality, step) <= kLongestWing;
}

CResampleBase::CResampleBase(int inputRate, int outputRate, int quality, int maxBlock)
    : inputRate_(inputRate), outputRate_(outputRate), step_(tableStep(inputRate, outputRate)),
      wing_(wingLength(quality, step_)),
      maxOutput_(static_cast<int>(outputsOf(maxBlock, inputRate, outputRate))),
      gain_(static_cast<float>(0.99 * std::min(static_cast<double>(outputRate) / inputRate, 1.0))),
      table_(eboDsp::sincTable(quality)), clock_(inputRate, outputRate)
{}

void CResampleBase::restartClock() { clock_ = OutputClock(inputRate_, outputRate_); }

void CResampleBase::writeWing(int position, int end, float* weights, int stride) const
{
    constexpr float kEntriesPerPosition = 0.0078125f;
    float* const wingEnd = weights + static_cast<std::ptrdiff_t>(wing_) * stride;
    for (; position < end; position += step_, weights += stride) {
        const eboDsp::SincEntry entry = table_[static_cast<std::size_t>(position >> kEntryBits)];
        *weights =
            entry.value + static_cast<float>(position & kEntryMask) * kEntriesPerPosition * entry.difference;
    }
    for (; weights != wingEnd; weights += stride)
        *weights = 0.0f;
}

void CResampleBase::writeWeights(std::int64_t phase, float* weights, int stride, int rightWing) const
{
    const std::int64_t behind = (phase << kFrameBits) / clock_.phases();  // the left wing's first input
    const std::int64_t before = kFrame - behind;                          // the right wing's
    const int end = static_cast<int>(table_.size()) << kEntryBits;
    writeWing(static_cast<int>((behind * step_) >> kFrameBits), end, weights, stride);
    // The right wing stops at the last entry, the left one goes on through it.
    writeWing(static_cast<int>((before * step_) >> kFrameBits), end - kEntry, weights + rightWing, stride);
}
