#pragma once

#include "key/CCrossCorrelation_If.h"
#include "key/CRealFFT_If.h"

#include <memory>
#include <vector>

/// Cross-correlation by the transforms of two blocks that are zero-padded to twice their length, so that it
/// is not cyclic.
class CCrossCorrelation : public CCrossCorrelation_If {
public:
    /// @param fft  padded twofold, rectangular window
    CCrossCorrelation(std::unique_ptr<CRealFFT_If> fft, bool normalise);

    void correlate(float* correlation, const float* first, const float* second) override;
    [[nodiscard]] Peak peak(const float* correlation) const override;
    [[nodiscard]] int length() const override { return fft_->length(); }

private:
    const std::unique_ptr<CRealFFT_If> fft_;
    const bool normalise_;
    std::vector<float> first_;
    std::vector<float> second_;
};
