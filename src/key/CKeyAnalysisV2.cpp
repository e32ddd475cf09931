#include "key/CKeyAnalysisV2.h"

#include "key/CRealFFT_If.h"
#include "key/vectorOps.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <numeric>
#include <utility>

namespace eboKey {

namespace {

constexpr int kPitchClasses = NoteBins::kPitchClasses;
constexpr int kHistoryLength = 15;      // blocks
constexpr float kSilentEnergy = 1e-8f;  // per sample
constexpr int kMostOctaves = 24;        // no sample rate has more
constexpr int kLargestBlock = 1 << 24;  // samples; the spectrum's length stays far from the end of an int

void divideBySum(float* chroma)
{
    const float sum = std::accumulate(chroma, chroma + kPitchClasses, 0.0f);
    if (sum == 0.0f)
        return;
    for (int i = 0; i < kPitchClasses; ++i)
        chroma[i] /= sum;
}

}  // namespace

Status CKeyAnalysisIf::create(std::unique_ptr<CKeyAnalysisIf>& instance, int sampleRate, int blockSize,
                              int octaves, float tuningFrequency)
{
    instance.reset();
    if (octaves < 0 || octaves > kMostOctaves ||
        sampleRate / 2.0 < static_cast<double>(std::int64_t{110} << octaves))
        return kInvalidArgument;
    if (blockSize < 1 || blockSize > kLargestBlock || !(tuningFrequency > 0.0f) ||
        !std::isfinite(tuningFrequency))
        return kInvalidArgument;
    const int blockLength = 2 * std::max(blockSize, TuningTracker::hopSize(sampleRate));
    try {
        std::unique_ptr<CRealFFT_If> fft;
        const Status status = CRealFFT_If::create(fft, blockLength, 1, CRealFFT_If::kHann);
        if (status != kOk)
            return status;
        instance = std::make_unique<CKeyAnalysisV2>(sampleRate, octaves, tuningFrequency, std::move(fft));
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return kOk;
}

CKeyAnalysisV2::CKeyAnalysisV2(int sampleRate, int octaves, float tuningFrequency,
                               std::unique_ptr<CRealFFT_If> fft)
    : sampleRate_(sampleRate), blockLength_(fft->blockLength()), tuning_(sampleRate, tuningFrequency),
      spectrum_(std::move(fft)), notes_(octaves * kPitchClasses, spectrum_.bins()),
      history_(kHistoryLength, kPitchClasses, CMovingAverage::kFlat),
      signal_(static_cast<std::size_t>(blockLength_))
{
    updateNoteBins();
}

void CKeyAnalysisV2::updateNoteBins() { notes_.update(tuning_.tuningFrequency(), sampleRate_, blockLength_); }

float CKeyAnalysisV2::process(const float* block, int count, float* chroma)
{
    const int blockSize = blockLength_ / 2;
    count = std::clamp(count, 0, blockSize);
    const float tuningBefore = tuning_.tuningFrequency();
    tuning_.process(block, count);
    if (tuning_.tuningFrequency() != tuningBefore)
        updateNoteBins();

    const auto current = signal_.begin() + blockSize;
    std::copy(current, signal_.end(), signal_.begin());
    std::fill(std::copy_n(block, count, current), signal_.end(), 0.0f);

    foldSpectrum(chroma);
    history_.push(chroma);
    history_.movingValues(chroma);
    return tuning_.tuningFrequency();
}

void CKeyAnalysisV2::foldSpectrum(float* chroma)
{
    const float energy =
        eboDsp::dotProduct(signal_.data(), signal_.data(), blockLength_) / static_cast<float>(blockLength_);
    if (energy < kSilentEnergy)
        std::fill_n(chroma, kPitchClasses, 0.0f);
    else
        notes_.fold(spectrum_.compute(signal_.data(), notes_.range()), chroma);
}

void CKeyAnalysisV2::getChroma(float* chroma) const
{
    history_.movingValues(chroma);
    divideBySum(chroma);
}

void CKeyAnalysisV2::getMeanChroma(float* chroma) const
{
    std::copy_n(history_.means(), kPitchClasses, chroma);
    divideBySum(chroma);
}

float CKeyAnalysisV2::getLatency() const
{
    const int blockSize = blockLength_ / 2;
    const int blocksBehind = history_.length() / 2 + 1;
    return static_cast<float>(blocksBehind * blockSize) / static_cast<float>(sampleRate_);
}

}  // namespace eboKey
