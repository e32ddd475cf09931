#include "analysis/LoudnessAnalyzer.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kAveragingMilliseconds = 100.0f;

// Below this power the average is set to 0 between blocks. Left alone it would shrink for ever into numbers
// so small that processors compute with them a hundred times slower. The result never tells: it is at
// least 0.00001, a power of 1e-10, in which this amount vanishes.
constexpr float kVanishingPower = 1e-30f;

}  // namespace

LoudnessAnalyzer::LoudnessAnalyzer(double sampleRate)
    : envelope_(static_cast<float>(sampleRate), kAveragingMilliseconds, kAveragingMilliseconds)
{}

void LoudnessAnalyzer::process(const float* samples, std::uint32_t count)
{
    eboEnvelopes::FirstOrderEnvelope envelope = envelope_;  // a local copy stays in registers
    float highestPower = 0.0f;
    for (std::uint32_t i = 0; i < count; ++i)
        highestPower = std::max(highestPower, envelope.process(samples[i] * samples[i]));
    peakLevel_ = std::max(peakLevel_, std::sqrt(highestPower));

    if (envelope.state() < kVanishingPower)
        envelope.clear();
    envelope_ = envelope;
}
