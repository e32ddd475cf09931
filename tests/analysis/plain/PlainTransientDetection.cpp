#include "analysis/plain/PlainTransientDetection.h"

#include "analysis/RmsInterface.h"

#include <algorithm>
#include <cmath>

namespace plain {

PlainTransientDetection::PlainTransientDetection(float sampleRate)
    : sampleRate_(sampleRate),
      frameSize_(static_cast<std::uint32_t>(std::trunc(sampleRate * 0.0015873017f + 0.5f))),
      minInterval_(sampleRate * 0.1f + 0.5f),
      decay_(std::exp(static_cast<float>(frameSize_) * -1000.0f / (sampleRate * 60.0f))),
      frameBuffer_(frameSize_)
{
    for (const float frequency : {32.5f, 65.0f, 130.0f, 259.9f, 519.8f, 1039.7f, 2079.4f, 4158.7f, 8317.5f}) {
        const float w = frequency * 6.2831855f / sampleRate;
        const float alpha = std::sin(w) * std::sinh(w * 0.3465736f / std::sin(w));
        const float a0 = 1.0f + alpha;
        filters_.push_back({alpha / a0, -2.0f * std::cos(w) / a0, (1.0f - alpha) / a0});
    }
    follower_.fill(0.004f);
    lastOnset_.fill(static_cast<std::uint64_t>(-static_cast<std::int64_t>(minInterval_ + 1.0f)));
}

void PlainTransientDetection::process(const float* samples, std::uint32_t count, std::uint64_t position,
                                      RmsInterface* rms)
{
    std::int64_t consumed = 0;
    if (pending_ < frameSize_) {
        consumed = frameSize_ - pending_;
        std::copy(samples, samples + consumed, frameBuffer_.begin() + pending_);
        position += static_cast<std::uint64_t>(consumed);
    }
    filterFrame(frameBuffer_.data());
    rms->rmsUpdate(static_cast<std::uint32_t>(position), levels_.data());

    while (consumed + frameSize_ <= std::int64_t{count}) {
        filterFrame(samples + consumed);
        rms->rmsUpdate(static_cast<std::uint32_t>(position), levels_.data());
        for (unsigned band = 0; band < 9; ++band)
            test(band, position);
        consumed += frameSize_;
        position += frameSize_;
    }
    pending_ = static_cast<std::uint32_t>(std::int64_t{count} - consumed);
    if (consumed < std::int64_t{count})
        std::copy(samples + consumed, samples + count, frameBuffer_.begin());
}

void PlainTransientDetection::filterFrame(const float* samples)
{
    for (unsigned band = 0; band < 9; ++band) {
        BandFilter& f = filters_[band];
        float sum = 0.0f;
        for (std::uint32_t i = 0; i < frameSize_; ++i) {
            const float w = samples[i] - f.a1 * f.w1 - f.a2 * f.w2;
            const float y = (w - f.w2) * f.b0;
            sum += y * y;
            f.w2 = f.w1;
            f.w1 = w;
        }
        levels_[band] = std::sqrt(sum / static_cast<float>(frameSize_));
    }
}

void PlainTransientDetection::test(unsigned band, std::uint64_t position)
{
    const float e = levels_[band];
    if (!(follower_[band] * 2.0f < e)) {
        follower_[band] = std::max(follower_[band] * decay_, e);
        follower_[band] = std::max(follower_[band], 0.004f);
        return;
    }
    const auto distance = static_cast<std::uint32_t>(position - lastOnset_[band]);
    const auto interval = static_cast<float>(distance);
    if (interval > minInterval_) {
        onsets_.emplace(position, TransientEvent{band, e, 60.0f / (interval / sampleRate_), distance});
    } else {
        for (auto onset = onsets_.end(); onset != onsets_.begin();) {
            --onset;
            if (static_cast<float>(onset->first) < static_cast<float>(position) - minInterval_)
                break;
            if (onset->second.band == band) {
                auto entry = *onset;
                entry.second.strength = std::max(entry.second.strength, e);
                onsets_.erase(onset);
                onsets_.insert(entry);
                break;
            }
        }
    }
    follower_[band] = e;
    lastOnset_[band] = position;
}

}  // namespace plain
