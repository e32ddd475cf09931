#include "analysis/Analysis.h"

#include "analysis/EboTransientDetection.h"
#include "analysis/keyText.h"
#include "analysis/saturatedTrunc.h"
#include "analysis/transientFrameSize.h"

#include <new>

namespace {

constexpr double kFirstBpm = 120.0;    // stands until the tempo is known
constexpr float kHopsPerEntry = 6.0f;  // detector frames in one entry of the waveform

double framesPerEntry(double sampleRate)
{
    return static_cast<double>(kHopsPerEntry) * transientFrameSize(static_cast<float>(sampleRate));
}

std::uint64_t lengthOf(const AnalysisSetup& setup)
{
    return setup.sampleCount > 0 ? static_cast<std::uint64_t>(setup.sampleCount) : 0;
}

std::unique_ptr<BeatDetection> makeBeatDetection(const AnalysisSetup& setup, LoudnessAnalyzer& loudness)
{
    const auto rate = static_cast<float>(setup.sampleRate);
    return std::make_unique<BeatDetection>(rate, setup.minimumBpm,
                                           std::make_unique<EboTransientDetection>(rate, &loudness));
}

}  // namespace

Analysis::KeyDetector Analysis::makeKeyDetector(const AnalysisSetup& setup)
{
    constexpr int kMono = 1;
    constexpr int kGoodResampler = 0;
    constexpr float kUsualTuning = 0.0f;
    if (!setup.detectKey)
        return nullptr;
    CKeyDetect_If* detector = nullptr;
    try {
        CreateInstance(&detector, analysis::saturatedTrunc<int>(setup.sampleRate), kMono, kGoodResampler,
                       kUsualTuning);
    } catch (const std::bad_alloc&) {
        return nullptr;  // a track without a key is better than none
    }
    return KeyDetector(detector);
}

Analysis::Analysis(const AnalysisSetup& setup)
    : loudness_(ebo::makeRef<LoudnessAnalyzer>(setup.sampleRate)),
      beatDetection_(makeBeatDetection(setup, *loudness_)),
      beatGrid_(ebo::makeRef<BeatGrid>(setup.sampleRate, setup.sampleCount, 0.0, kFirstBpm)),
      waveform_(ebo::makeRef<WaveformAnalyzer>(setup.sampleRate, framesPerEntry(setup.sampleRate),
                                               lengthOf(setup), setup.overviewSize)),
      keyDetector_(makeKeyDetector(setup)), sampleRate_(setup.sampleRate), sampleCount_(setup.sampleCount),
      bpm_(kFirstBpm)
{}

void Analysis::process(const boost::shared_array<float>& samples, std::uint32_t position, std::uint32_t count,
                       bool isLast, StatusCallbackInterface* status)
{
    beatDetection_->transientDetection().process(samples.get(), count, position, this);
    if (keyDetector_) {
        const float* const mono = samples.get();
        keyDetector_->process(&mono, static_cast<int>(count));  // refuses an empty block, which is as well
    }
    if (isLast)
        finish(status);
}

void Analysis::finish(StatusCallbackInterface* status)
{
    float bpm = 0.0f;
    float offset = 0.0f;
    beatDetection_->analyze(&bpm, &offset, status);
    bpm_ = bpm;
    beatGrid_ = ebo::makeRef<BeatGrid>(sampleRate_, sampleCount_, offset, bpm_);
    waveform_->flush();
    if (keyDetector_) {
        const auto result = std::make_unique<KeyResult>();
        keyDetector_->getKey(result.get(), nullptr, 0);
        key_ = normalizedKeyText(QString::fromUtf8(result->keyText));
    }
}

void Analysis::rmsUpdate(std::uint32_t position, float* bands)
{
    for (std::uint32_t band = 0; band < WaveformAnalyzer::kBandCount; ++band)
        bands[band] /= kHopsPerEntry;
    waveform_->addBands(position, bands);
}

std::uint32_t Analysis::frameSize() const { return beatDetection_->transientDetection().getFrameSize(); }
