#include "key/CKeyDetect.h"

#include "key/circleOfFifthsKey.h"
#include "key/keyLabel.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace eboKey {

namespace {

constexpr int kOctaves = 4;
constexpr float kConcertPitch = 440.0f;              // Hz
constexpr float kLowestTuning = 400.0f;              // Hz; up to here a tuning counts as not given
constexpr int kRunningSet = 1;                       // the templates that name the running key
constexpr float kSecondsPerSample = 0.00012207031f;  // at 8192 Hz

template <std::size_t size>
void setText(char (&target)[size], const char* text)
{
    std::memset(target, 0, size);
    std::memcpy(target, text, std::min(std::strlen(text), size - 1));
}

void setKey(KeyResult& result, int key, float strength, float tuningFrequency)
{
    setText(result.keyText, keyLabel(key));
    result.keyNumber = key;
    result.strength = strength;
    result.tuningFrequency = tuningFrequency;
}

void setSecondKey(KeyResult& result, int key, float strength)
{
    setText(result.secondKeyText, key < 0 ? "" : keyLabel(key));
    result.secondKeyNumber = key;
    result.secondStrength = strength;
}

/// What the recognition decides on; no key until it has seen a block.
struct Decision {
    std::array<int, CKeyRecognition::kOpinions> keys;
    std::array<float, CKeyRecognition::kOpinions> strengths{};

    explicit Decision(const CKeyRecognition& recognition)
    {
        keys.fill(-1);
        recognition.decide(keys.data(), strengths.data(), nullptr);
    }

    [[nodiscard]] int key() const { return keys[0]; }
    [[nodiscard]] float strength() const { return strengths[0]; }
};

}  // namespace

Status CKeyDetect::create(std::unique_ptr<CKeyDetect>& instance, int sampleRate, int channels, int flag,
                          float tuningFrequency)
{
    instance.reset();
    if (sampleRate < kRate)
        return kSampleRateTooLow;

    const float tuning = tuningFrequency > kLowestTuning ? tuningFrequency : kConcertPitch;
    std::unique_ptr<CKeyPreProcess> preProcess;
    std::unique_ptr<CKeyAnalysisIf> analysis;
    Status status = CKeyPreProcess::create(preProcess, sampleRate, kRate, channels, kLongestBlock, flag);
    if (status == kOk)
        status = CKeyAnalysisIf::create(analysis, kRate, kBlockSize, kOctaves, tuning);
    if (status == kOutOfMemory)
        throw std::bad_alloc();
    if (status == kOk)
        instance.reset(new CKeyDetect(std::move(preProcess), std::move(analysis), tuning));
    return status;
}

CKeyDetect::CKeyDetect(std::unique_ptr<CKeyPreProcess> preProcess, std::unique_ptr<CKeyAnalysisIf> analysis,
                       float tuningFrequency)
    : preProcess_(std::move(preProcess)), analysis_(std::move(analysis)), tuningFrequency_(tuningFrequency),
      block_(kBlockSize)
{}

Status CKeyDetect::process(const float* interleaved, int frames) { return takeBlock(interleaved, frames); }

Status CKeyDetect::process(const float* const* channels, int frames) { return takeBlock(channels, frames); }

template <typename Samples>
Status CKeyDetect::takeBlock(const Samples* samples, int frames)
{
    if (samples == nullptr || frames < 1 || frames > kLongestBlock)
        return kInvalidArgument;
    preProcess_->process(samples, ring_, &frames);
    // At input rates near 8192 Hz one block can make more samples than the ring has room for.
    do
        analyzeBlocks();
    while (preProcess_->appendRest(ring_) > 0);
    return kOk;
}

void CKeyDetect::analyzeBlocks()
{
    while (ring_.readable() >= kBlockSize) {
        Chroma chroma;
        ring_.take(block_.data(), kBlockSize);
        tuningFrequency_ = analysis_->process(block_.data(), kBlockSize, chroma.data());
        recognition_.update(chroma.data(), 0);
        logBlock();
    }
}

void CKeyDetect::logBlock()
{
    Chroma chroma;
    const BestKey best = runningKey(chroma);
    if (best.key >= 0)
        keySums_[static_cast<std::size_t>(best.key)] += static_cast<double>(best.score);
    const float fed = static_cast<float>(log_.count()) * kSecondsPerSample * static_cast<float>(kBlockSize);
    log_.append({best.key, best.score, fed - analysis_->getLatency()});
}

BestKey CKeyDetect::runningKey(Chroma& chroma) const
{
    CKeyRecognition::Scores scores;
    analysis_->getChroma(chroma.data());
    recognition_.score(chroma.data(), scores.data(), kRunningSet);
    return bestKey(scores.data());
}

Status CKeyDetect::getRunningKey(KeyResult* result, float* profile)
{
    if (result == nullptr)
        return kInvalidArgument;
    Chroma chroma;
    const BestKey best = runningKey(chroma);
    setKey(*result, best.key, best.score, tuningFrequency_);
    if (profile != nullptr)
        std::copy(chroma.begin(), chroma.end(), profile);

    const Decision decision(recognition_);
    setSecondKey(*result, decision.key(), decision.strength());
    return kOk;
}

Status CKeyDetect::getKey(KeyResult* result, float* profile, int /*reserved*/)
{
    if (result == nullptr)
        return kInvalidArgument;
    Chroma chroma;
    analysis_->getMeanChroma(chroma.data());

    // The whole track's chroma takes the place of the last block's for one vote.
    const CKeyRecognition::ScoreTables latest = recognition_.scores();
    recognition_.update(chroma.data(), 1);
    const Decision decision(recognition_);
    recognition_.setScores(latest);

    setKey(*result, decision.key(), decision.strength(), tuningFrequency_);
    if (profile != nullptr)
        std::copy(chroma.begin(), chroma.end(), profile);

    const FifthsEstimate estimate = circleOfFifthsKey(keySums_);
    setSecondKey(*result, estimate.key, estimate.strength);
    return kOk;
}

Status CKeyDetect::getResult(CKeyDetectResult* result)
{
    if (result == nullptr)
        return kInvalidArgument;
    Chroma smoothed;
    Chroma mean;
    const BestKey best = runningKey(smoothed);
    const Decision decision(recognition_);
    analysis_->getMeanChroma(mean.data());

    result->setKey(best.key, best.score);
    result->setSecondKey(decision.key(), decision.strength());
    result->setChroma(smoothed.data(), mean.data());
    result->setTuningFrequency(tuningFrequency_);
    result->setKeyCount(log_.count());
    for (const CKeyDetectResult::KeyEntry& entry : log_.entries())
        result->addKey(entry);
    return kOk;
}

}  // namespace eboKey

eboKey::Status CreateInstance(CKeyDetect_If** instance, int sampleRate, int channels, int flag,
                              float tuningFrequency)
{
    if (instance == nullptr)
        return eboKey::kInvalidArgument;
    *instance = nullptr;
    std::unique_ptr<eboKey::CKeyDetect> made;
    const eboKey::Status status =
        eboKey::CKeyDetect::create(made, sampleRate, channels, flag, tuningFrequency);
    *instance = made.release();
    return status;
}

eboKey::Status DestroyInstance(CKeyDetect_If** instance)
{
    if (instance == nullptr || *instance == nullptr)
        return eboKey::kInvalidArgument;
    delete *instance;
    *instance = nullptr;
    return eboKey::kOk;
}
