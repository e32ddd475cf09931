#pragma once

#include "key/CKeyAnalysisIf.h"
#include "key/CMovingAverage.h"
#include "key/LogSpectrum.h"
#include "key/NoteBins.h"
#include "key/TuningTracker.h"

#include <memory>
#include <vector>

namespace eboKey {

/// Key analysis by a spectrum of the last two blocks, folded into chroma at the tuning that a bank of
/// resonators follows. One thread.
class CKeyAnalysisV2 final : public CKeyAnalysisIf {
public:
    /// As CKeyAnalysisIf::create, with valid arguments.
    /// @param fft  of two blocks; its window is that of the spectrum
    CKeyAnalysisV2(int sampleRate, int octaves, float tuningFrequency, std::unique_ptr<CRealFFT_If> fft);

    float process(const float* block, int count, float* chroma) override;
    void getChroma(float* chroma) const override;
    void getMeanChroma(float* chroma) const override;
    [[nodiscard]] float getLatency() const override;
    void updateNoteBins() override;

private:
    void foldSpectrum(float* chroma);

    const int sampleRate_;   // Hz
    const int blockLength_;  // samples of the spectrum, two blocks
    TuningTracker tuning_;
    LogSpectrum spectrum_;
    NoteBins notes_;
    CMovingAverage history_;
    std::vector<float> signal_;  // the block before and the current one
};

}  // namespace eboKey
