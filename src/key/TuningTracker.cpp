#include "key/TuningTracker.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace eboKey {

namespace {

constexpr float kSemitone = 1.0594631f;
constexpr float kEnvelopeCoefficient = 0.95f;
constexpr float kDeadZone = 0.005f;
constexpr float kFastest = 0.001f;
constexpr float kSlowest = 1e-9f;

}  // namespace

int TuningTracker::hopSize(int sampleRate)
{
    constexpr float kHalfHopSeconds = 0.009090909f;  // a period of the lowest A, 110 Hz
    const float half = std::floor(static_cast<float>(sampleRate) * kHalfHopSeconds + 0.5f);
    return static_cast<int>(2 * std::bit_ceil(static_cast<unsigned>(half)));
}

TuningTracker::TuningTracker(int sampleRate, float tuningFrequency)
    : hopSize_(hopSize(sampleRate)), tuningFrequency_(tuningFrequency),
      adaptionRate_(static_cast<float>(hopSize_) * 1e-6f * 0.0078125f),
      bank_(sampleRate, kEnvelopeCoefficient)
{
    const auto rate = static_cast<float>(sampleRate);
    float b = -5.0265484f / rate;  // -1.6 pi: the neighbours of the lowest note are 1.6 Hz away
    for (std::size_t group = 0; group < kGroups; ++group) {
        // In double, where the last bit, which depends on the machine's library, is not that of the float.
        const auto radius = static_cast<float>(std::exp(double{b}));
        std::fill_n(radii_.begin() + static_cast<std::ptrdiff_t>(3 * group), 3, radius);
        offsets_[group] = (rate * b) / 3.1415927f;
        b *= kSemitone;
    }
    designFilters();
}

void TuningTracker::designFilters()
{
    FilterArray frequencies;
    float frequency = (tuningFrequency_ / 440.0f) * 220.0f;
    for (std::size_t group = 0; group < kGroups; ++group) {
        frequencies[3 * group] = frequency + offsets_[group];
        frequencies[3 * group + 1] = frequency;
        frequencies[3 * group + 2] = frequency - offsets_[group];
        frequency *= kSemitone;
    }
    bank_.design(frequencies.data(), radii_.data());
}

void TuningTracker::process(const float* block, int count)
{
    for (int end = hopSize_; end <= count; end += hopSize_) {
        bank_.process(block + end - hopSize_, hopSize_);
        step(hopSize_);
    }
}

void TuningTracker::step(int samples)
{
    float low = 0.0f;
    float mid = 0.0f;
    float high = 0.0f;
    for (int group = 0; group < kGroups; ++group) {
        low += bank_.levels()[3 * group];
        mid += bank_.levels()[3 * group + 1];
        high += bank_.levels()[3 * group + 2];
    }
    const float sum = low + mid + high;
    if (sum == 0.0f)
        return;
    const float d = (high - low) / sum;
    if (!(std::abs(d) > kDeadZone))
        return;

    const float direction = d > 0.0f ? 1.0f : -1.0f;
    adaptionRate_ = direction == lastDirection_ ? std::min(adaptionRate_ * 1.1f, kFastest)
                                                : std::max(adaptionRate_ * 0.5f, kSlowest);
    lastDirection_ = direction;
    const float factor = adaptionRate_ * static_cast<float>(samples) * direction * 0.001f + 1.0f;
    const float next = std::min(tuningFrequency_ * factor, kHighestTuning);
    if (next == tuningFrequency_)
        return;
    tuningFrequency_ = next;
    designFilters();
}

}  // namespace eboKey
