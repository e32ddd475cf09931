#include "analysis/WaveformAnalyzer.h"

#include "analysis/saturatedTrunc.h"

#include <algorithm>
#include <cmath>

namespace {

using eboEnvelopes::FirstOrderEnvelope;

// Bit i lets band i take part. Band 6, around 2 kHz, is left out of the picture.
constexpr std::uint32_t kBandMask = 0x1BF;

// A rise is taken at once. The falls, in ms: low, middle, high fast, then low, middle, high slow.
constexpr float kAttackMilliseconds = 0.0f;
constexpr std::array kReleaseMilliseconds{72.5f, 50.0f, 10.0f, 100.0f, 80.0f, 40.0f};

// Room taken in advance: two hours of music need less. What a file claims beyond that is not believed until
// it comes; the list then grows.
constexpr std::uint32_t kMostReservedEntries = 1U << 20U;

std::array<FirstOrderEnvelope, 6> makeEnvelopes(float rate)
{
    const auto make = [rate](std::size_t i) {
        return FirstOrderEnvelope(rate, kAttackMilliseconds, kReleaseMilliseconds[i]);
    };
    return {make(0), make(1), make(2), make(3), make(4), make(5)};
}

/// 1.0 and more is full scale; what is below 0 or not a number is drawn as silence.
std::uint8_t quantised(float value)
{
    return static_cast<std::uint8_t>(std::clamp(analysis::saturatedTrunc<int>(value * 255.0f), 0, 255));
}

template <std::size_t N>
void raise(std::array<std::uint8_t, N>& maximum, const std::array<std::uint8_t, N>& entry)
{
    for (std::size_t i = 0; i < N; ++i)
        maximum[i] = std::max(maximum[i], entry[i]);
}

}  // namespace

WaveformAnalyzer::WaveformAnalyzer(double sampleRate, double framesPerEntry, std::uint64_t length,
                                   std::uint32_t overviewSize)
    : framesPerEntry_(framesPerEntry), entriesPerSecond_(sampleRate / framesPerEntry),
      overviewSize_(overviewSize), totalEntries_(analysis::saturatedTrunc<std::uint32_t>(
                                       std::floor(static_cast<double>(length) / framesPerEntry) + 1.0)),
      entriesPerOverviewEntry_(std::floor(static_cast<double>(length) / framesPerEntry) / overviewSize),
      envelopes_(makeEnvelopes(static_cast<float>(entriesPerSecond_)))
{
    highResolutionEntries_.reserve(std::min(totalEntries_, kMostReservedEntries));
    overviewEntries_.reserve(std::min(overviewSize_, kMostReservedEntries));
}

void WaveformAnalyzer::addBands(std::uint32_t position, const float* bands)
{
    if (static_cast<double>(position) >= (entryCount_ + 1.0) * framesPerEntry_)
        step();
    for (std::uint32_t band = 0; band < kBandCount; ++band) {
        if ((kBandMask >> band & 1U) != 0)
            bandSums_[band * 3 / kBandCount] += bands[band];
    }
}

void WaveformAnalyzer::flush()
{
    while (entryCount_ < totalEntries_)
        step();
}

void WaveformAnalyzer::step()
{
    HighResolutionEntry entry;
    for (std::size_t i = 0; i < entry.size(); ++i)
        entry[i] = quantised(envelopes_[i].process(bandSums_[i % 3]));
    highResolutionEntries_.push_back(entry);
    raise(highResolutionMaximum_, entry);
    ++entryCount_;

    for (std::size_t i = 0; i < overviewSums_.size(); ++i)
        overviewSums_[i] += envelopes_[i].state();
    ++overviewSumCount_;
    addToOverview();
    bandSums_.fill(0.0f);
}

void WaveformAnalyzer::addToOverview()
{
    double end = (overviewCount_ + 1.0) * entriesPerOverviewEntry_;  // in high-resolution entries
    if (!(end < entryCount_))
        return;

    OverviewEntry entry;
    for (std::size_t i = 0; i < entry.size(); ++i)
        entry[i] = quantised(overviewSums_[i] / static_cast<float>(overviewSumCount_));
    // In a short track one high-resolution entry covers several overview entries: they are all alike.
    for (; end < entryCount_ && overviewCount_ < overviewSize_; end += entriesPerOverviewEntry_) {
        overviewEntries_.push_back(entry);
        ++overviewCount_;
        raise(overviewMaximum_, entry);
    }
    overviewSums_.fill(0.0f);
    overviewSumCount_ = 0;
}
