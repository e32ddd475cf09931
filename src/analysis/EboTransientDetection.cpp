#include "analysis/EboTransientDetection.h"

#include "analysis/FlushTinyNumbers.h"
#include "analysis/RmsInterface.h"
#include "analysis/saturatedTrunc.h"
#include "analysis/transientFrameSize.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kFrameSeconds = 0.0015873017f;  // 1/630
constexpr float kLevelFloor = 0.004f;           // quieter is no music to the followers
constexpr float kThreshold = 2.0f;              // a rise is a level above the follower by this factor
constexpr float kMinIntervalSeconds = 0.1f;     // between two onsets of a band
constexpr float kDecayMilliseconds = 60.0f;     // of the followers

}  // namespace

std::uint32_t transientFrameSize(float sampleRate)
{
    return analysis::saturatedTrunc<std::uint32_t>(sampleRate * kFrameSeconds + 0.5f);
}

EboTransientDetection::EboTransientDetection(float sampleRate, LoudnessAnalyzer* loudness)
    : sampleRate_(sampleRate), loudness_(loudness), filters_(sampleRate),
      frameSize_(transientFrameSize(sampleRate)), frameBuffer_(frameSize_),
      minInterval_(sampleRate * kMinIntervalSeconds + 0.5f),
      decay_(std::exp(static_cast<float>(frameSize_) * -1000.0f / (sampleRate * kDecayMilliseconds)))
{
    follower_.fill(kLevelFloor);
    // So far before the start that an onset at position 0 is not too soon; the difference of the two wraps.
    lastOnset_.fill(std::uint64_t{0} - analysis::saturatedTrunc<std::uint64_t>(minInterval_ + 1.0f));
}

void EboTransientDetection::process(const float* samples, std::uint32_t count, std::uint64_t position,
                                    RmsInterface* rms)
{
    const analysis::FlushTinyNumbers scope;
    std::uint32_t consumed = 0;
    if (pending_ < frameSize_) {
        consumed = frameSize_ - pending_;
        std::copy_n(samples, consumed, frameBuffer_.begin() + pending_);
        position += consumed;
    }
    // Of this frame the loudness has had the beginning, and behind a short block there is no sound.
    measureLoudness(samples, std::min(consumed, count));
    filterFrame(frameBuffer_.data(), position, *rms, nullptr);

    LoudnessAnalyzer::Average* const average = loudness_ != nullptr ? &loudness_->average() : nullptr;
    while (std::uint64_t{consumed} + frameSize_ <= count) {
        filterFrame(samples + consumed, position, *rms, average);
        for (std::uint32_t band = 0; band < kBands; ++band)
            testForOnset(band, position);
        consumed += frameSize_;
        position += frameSize_;
    }

    // A block too short to complete the frame makes the difference wrap; then nothing is copied, and the
    // next call, if there is one, takes the frame as complete.
    pending_ = count - consumed;
    if (consumed < count) {
        std::copy_n(samples + consumed, pending_, frameBuffer_.begin());
        measureLoudness(samples + consumed, pending_);
    }
}

void EboTransientDetection::measureLoudness(const float* samples, std::uint32_t count)
{
    if (loudness_ != nullptr)
        loudness_->process(samples, count);
}

void EboTransientDetection::filterFrame(const float* samples, std::uint64_t position, RmsInterface& rms,
                                        LoudnessAnalyzer::Average* average)
{
    filters_.process(samples, frameSize_, levels_.data(), average);
    rms.rmsUpdate(static_cast<std::uint32_t>(position), levels_.data());
}

void EboTransientDetection::testForOnset(std::uint32_t band, std::uint64_t position)
{
    const float level = levels_[band];
    float& follower = follower_[band];
    if (!(follower * kThreshold < level)) {
        follower = std::max(std::max(follower * decay_, level), kLevelFloor);
        return;
    }

    const auto samplesSinceLast = static_cast<std::uint32_t>(position - lastOnset_[band]);
    const auto interval = static_cast<float>(samplesSinceLast);
    if (interval > minInterval_)
        transients_.insert(position, {band, level, 60.0f / (interval / sampleRate_), samplesSinceLast});
    else
        raiseRecentOnset(band, position);

    // A rise that came too soon counts here as well: a long crescendo is one onset.
    follower = level;
    lastOnset_[band] = position;
}

void EboTransientDetection::raiseRecentOnset(std::uint32_t band, std::uint64_t position)
{
    const float earliest = static_cast<float>(position) - minInterval_;
    for (auto onset = transients_.end(); onset != transients_.begin();) {
        --onset;
        if (static_cast<float>(onset->position) < earliest)
            return;
        if (onset->event.band == band) {
            transients_.raiseStrength(onset, levels_[band]);
            return;
        }
    }
}
