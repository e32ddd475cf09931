#include "analysis/onsetTempo.h"

#include "analysis/saturatedTrunc.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kBins = 4000;
constexpr float kBinCount = 4000.0f;
constexpr float kSmallest = 1e-32f;  // keeps an empty sum from dividing by 0

using Histogram = std::array<float, kBins>;

void fill(Histogram& bins, const TransientMap& onsets, const TempoRange& range)
{
    const float width = range.maxBpm - range.minBpm;
    const float fastest = range.maxBpm * 3.0f;  // onsets closer than that are no beats
    for (const auto& [position, event] : onsets) {
        if (event.bpm > fastest)
            continue;
        const float place = (range.fold(event.bpm) - range.minBpm) / width * kBinCount;
        const int bin = std::clamp(analysis::saturatedTrunc<int>(place), 0, kBins - 1);
        bins[static_cast<std::size_t>(bin)] += 1.0f;
    }
}

/// The same bin round the octave.
std::size_t wrapped(int bin) { return static_cast<std::size_t>((bin % kBins + kBins) % kBins); }

}  // namespace

float coarseTempo(const TransientMap& onsets, const TempoRange& range)
{
    const float width = range.maxBpm - range.minBpm;
    if (!(width > 0.0f))
        return 0.0f;
    Histogram bins{};
    fill(bins, onsets, range);

    const auto peak = static_cast<int>(std::max_element(bins.begin(), bins.end()) - bins.begin());
    const int half = analysis::saturatedTrunc<int>(8000.0f / width + 0.5f);  // 2 BPM in bins
    if (peak - half >= peak + half)
        return 0.0f;

    // The window wraps round the octave for the bins, but the tempi go on beyond its ends.
    float sum = 0.0f;
    float weighted = 0.0f;
    for (int i = peak - half; i < peak + half; ++i) {
        const float height = bins[wrapped(i)];
        sum += height;
        weighted += (range.minBpm + (static_cast<float>(i) / kBinCount) * width) * height;
    }
    return weighted / (sum + kSmallest);
}

float meanTempoNear(float coarse, const TransientMap& onsets, const TempoRange& range)
{
    float weighted = 0.0f;
    float sum = 0.0f;
    for (const auto& [position, event] : onsets) {
        const float tempo = range.fold(event.bpm);
        if (std::abs(tempo - coarse) < 1.0f) {
            weighted += tempo * event.strength;
            sum += event.strength;
        }
    }
    return sum > 0.0f ? weighted / sum : range.middle();
}
