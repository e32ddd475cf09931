#include "analysis/BandFilterBank.h"

#include <cmath>
#include <cstring>

bool BandFilterBank::Coefficients::finite() const
{
    return std::isfinite(b0) && std::isfinite(a1) && std::isfinite(a2);
}

BandFilterBank::Coefficients BandFilterBank::coefficients(float centreFrequency, float sampleRate)
{
    constexpr float kTurn = 6.2831855f;        // 2 pi
    constexpr float kHalfOctave = 0.3465736f;  // ln 2 / 2 times a bandwidth of one octave
    const float w = centreFrequency * kTurn / sampleRate;
    const float sine = std::sin(w);
    const float alpha = sine * std::sinh(w * kHalfOctave / sine);
    const float a0 = 1.0f + alpha;
    return {alpha / a0, -2.0f * std::cos(w) / a0, (1.0f - alpha) / a0};
}

BandFilterBank::BandFilterBank(float sampleRate)
{
    for (std::size_t band = 0; band < kBands; ++band) {
        const Coefficients c = coefficients(kCentreFrequencies[band], sampleRate);
        mute_[band] = !c.finite();
        if (mute_[band])
            continue;
        Group& group = groups_[band / kLanes];
        group.b0[band % kLanes] = c.b0;
        group.a1[band % kLanes] = c.a1;
        group.a2[band % kLanes] = c.a2;
    }
}

void BandFilterBank::Group::restart(std::size_t lane)
{
    w1[lane] = 0.0f;
    w2[lane] = 0.0f;
}

/// Runs the filters over the samples and calls `companion` with each of them.
/// @return for each band the sum of the squares of what comes out
template <typename Companion>
BandFilterBank::Sums BandFilterBank::filter(const float* samples, std::uint32_t count, Companion companion)
{
    // Named locals instead of a loop over an array: so they stay in registers.
    Group low = groups_[0];
    Group middle = groups_[1];
    Group high = groups_[2];
    Lanes lowSum{};
    Lanes middleSum{};
    Lanes highSum{};
    for (std::uint32_t i = 0; i < count; ++i) {
        const Lanes sample{samples[i], samples[i], samples[i], samples[i]};
        lowSum += low.step(sample);
        middleSum += middle.step(sample);
        highSum += high.step(sample);
        companion(samples[i]);
    }
    groups_ = {low, middle, high};
    return {lowSum, middleSum, highSum};
}

void BandFilterBank::process(const float* samples, std::uint32_t count, float* levels,
                             LoudnessAnalyzer::Average* average)
{
    Sums sums;
    if (average != nullptr) {
        LoudnessAnalyzer::Average local = *average;
        sums = filter(samples, count, [&local](float sample) { local.add(sample); });
        *average = local;
    } else {
        sums = filter(samples, count, [](float) {});
    }

    std::array<float, kGroups * kLanes> rms;
    std::memcpy(rms.data(), sums.data(), sizeof(rms));
    for (float& value : rms)
        value = std::sqrt(value / static_cast<float>(count));

    for (std::size_t band = 0; band < kBands; ++band) {
        levels[band] = mute_[band] ? 0.0f : rms[band];
        if (!(levels[band] <= kHighestLevel)) {
            levels[band] = kHighestLevel;
            groups_[band / kLanes].restart(band % kLanes);
        }
    }
}
