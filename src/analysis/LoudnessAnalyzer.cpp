#include "analysis/LoudnessAnalyzer.h"

#include "analysis/FlushTinyNumbers.h"

#include <cmath>

namespace {

constexpr float kLowestPeakLevel = 0.00001f;

}  // namespace

LoudnessAnalyzer::LoudnessAnalyzer(double sampleRate) : average_(static_cast<float>(sampleRate)) {}

void LoudnessAnalyzer::process(const float* samples, std::uint32_t count)
{
    const analysis::FlushTinyNumbers scope;
    Average average = average_;  // a local copy stays in registers
    for (std::uint32_t i = 0; i < count; ++i)
        average.add(samples[i]);
    average_ = average;
}

float LoudnessAnalyzer::peakLevel() const
{
    return std::max(kLowestPeakLevel, std::sqrt(average_.highest()));
}
