#pragma once

#include "analysis/FirstOrderEnvelope.h"
#include "runtime/refcounted.h"

#include <array>
#include <cstdint>
#include <vector>

/// Two byte-sized pictures of a track, made from the band levels of the transient detection: a
/// high-resolution wave (about 105 entries per second) and an overview with a fixed number of entries for
/// the whole track. Each shows a low, a middle and a high frequency band. It sees no audio itself. Lives on
/// the analysing thread.
class WaveformAnalyzer : public ebo::refcounted {
public:
    static constexpr std::uint32_t kBandCount = 9;

    /// Low, middle and high with a fast release, then the same with a slow one. 255 is full scale.
    using HighResolutionEntry = std::array<std::uint8_t, 6>;

    /// Low, middle and high with the fast release.
    using OverviewEntry = std::array<std::uint8_t, 3>;

    /// @param sampleRate      Hz
    /// @param framesPerEntry  audio frames in one high-resolution entry: six detector frames
    /// @param length          audio frames in the track
    /// @param overviewSize    entries of the whole overview
    WaveformAnalyzer(double sampleRate, double framesPerEntry, std::uint64_t length,
                     std::uint32_t overviewSize);

    /// Takes the levels of one detector frame, nine of them, each already a sixth of the band's RMS level, so
    /// that six frames add up to their mean. Completes an entry first if its time is over.
    /// @param position  the detector frame's place in the track, in audio frames
    void addBands(std::uint32_t position, const float* bands);

    /// The end of the track: completes entries from what is left until there are totalEntries. The
    /// envelopes just decay where the sums are 0.
    void flush();

    /// New entries since they were last cleared; the consumer joins them in order.
    [[nodiscard]] const std::vector<HighResolutionEntry>& highResolutionEntries() const
    {
        return highResolutionEntries_;
    }
    [[nodiscard]] const std::vector<OverviewEntry>& overviewEntries() const { return overviewEntries_; }

    /// Empties the lists, keeping their room. Counters and maxima stay.
    void clearHighResolutionEntries() { highResolutionEntries_.clear(); }
    void clearOverviewEntries() { overviewEntries_.clear(); }

    /// The maximum of each byte position over the whole track so far.
    [[nodiscard]] const HighResolutionEntry& highResolutionMaximum() const { return highResolutionMaximum_; }
    [[nodiscard]] const OverviewEntry& overviewMaximum() const { return overviewMaximum_; }

    [[nodiscard]] double framesPerEntry() const { return framesPerEntry_; }
    [[nodiscard]] double entriesPerSecond() const { return entriesPerSecond_; }

    /// High-resolution entries in one overview entry; below 1 for a short track.
    [[nodiscard]] double entriesPerOverviewEntry() const { return entriesPerOverviewEntry_; }

    /// High-resolution entries of the whole track, and how many of them are complete.
    [[nodiscard]] std::uint32_t totalEntries() const { return totalEntries_; }
    [[nodiscard]] std::uint32_t entryCount() const { return entryCount_; }

    /// How many entries flush would have to complete now.
    [[nodiscard]] std::uint32_t entriesMissing() const
    {
        return entryCount_ < totalEntries_ ? totalEntries_ - entryCount_ : 0;
    }

    /// Overview entries of the whole track, and how many of them are complete.
    [[nodiscard]] std::uint32_t overviewSize() const { return overviewSize_; }
    [[nodiscard]] std::uint32_t overviewCount() const { return overviewCount_; }

private:
    void step();
    void addToOverview();

    double framesPerEntry_;
    double entriesPerSecond_;
    std::uint32_t overviewSize_;
    std::uint32_t totalEntries_;
    std::uint32_t entryCount_ = 0;
    std::uint32_t overviewCount_ = 0;
    double entriesPerOverviewEntry_;
    std::array<float, 3> bandSums_{};
    std::vector<HighResolutionEntry> highResolutionEntries_;
    HighResolutionEntry highResolutionMaximum_{};
    std::array<eboEnvelopes::FirstOrderEnvelope, 6> envelopes_;
    std::vector<OverviewEntry> overviewEntries_;
    std::array<float, 3> overviewSums_{};
    OverviewEntry overviewMaximum_{};
    std::uint32_t overviewSumCount_ = 0;
};
