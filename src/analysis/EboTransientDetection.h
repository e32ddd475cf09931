#pragma once

#include "analysis/BandFilterBank.h"
#include "analysis/ITransientDetection.h"

#include <array>
#include <cstdint>
#include <vector>

/// Finds onsets in nine octave bands: moments at which a band's level, 630 times per second, rises to more
/// than twice what a decaying follower remembers of it. Lives on the analysing thread.
///
/// The thresholds assume a receiver that scales the levels by 1/6 in rmsUpdate; all strengths are scaled
/// levels.
class EboTransientDetection : public ITransientDetection {
public:
    /// @param sampleRate  Hz; transientFrameSize of it is above 0
    /// @param loudness    gets every sample of every call once, in order; null for none. Outlives this
    ///                    object.
    explicit EboTransientDetection(float sampleRate, LoudnessAnalyzer* loudness = nullptr);

    /// The first frame of each call is put together from samples of the last call and this one. It drives
    /// the filters and `rms`, but is never examined for onsets. Samples left at the end of the track, less
    /// than a frame, are not analysed.
    void process(const float* samples, std::uint32_t count, std::uint64_t position,
                 RmsInterface* rms) override;
    [[nodiscard]] std::uint32_t getFrameSize() const override { return frameSize_; }
    [[nodiscard]] const TransientMap& getTransients() const override { return transients_; }

private:
    static constexpr std::uint32_t kBands = BandFilterBank::kBands;

    void filterFrame(const float* samples, std::uint64_t position, RmsInterface& rms,
                     LoudnessAnalyzer::Average* average);
    void measureLoudness(const float* samples, std::uint32_t count);
    void testForOnset(std::uint32_t band, std::uint64_t position);
    void raiseRecentOnset(std::uint32_t band, std::uint64_t position);

    const float sampleRate_;
    LoudnessAnalyzer* const loudness_;
    TransientMap transients_;
    BandFilterBank filters_;
    std::array<float, kBands> levels_{};
    const std::uint32_t frameSize_;
    std::uint32_t pending_ = 0;  // samples held over in frameBuffer_
    std::vector<float> frameBuffer_;
    const float minInterval_;  // samples
    const float decay_;        // of the followers, per frame
    std::array<float, kBands> follower_{};
    std::array<std::uint64_t, kBands> lastOnset_{};  // sample positions
};
