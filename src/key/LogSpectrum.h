#pragma once

#include "key/CRealFFT_If.h"
#include "key/NoteBins.h"

#include <memory>
#include <vector>

namespace eboKey {

/// The spectrum of a block on a logarithmic scale, as an ear would have it: relative to its strongest bin,
/// which gets ln 15, with all that is weaker than a fifteenth of that at 0. One thread; nothing allocates
/// after construction.
class LogSpectrum {
public:
    explicit LogSpectrum(std::unique_ptr<CRealFFT_If> fft);

    /// Bins of the spectrum: 0 Hz to below half the sample rate.
    [[nodiscard]] int bins() const { return static_cast<int>(values_.size()); }

    /// Windows and transforms the block, whose samples are finite.
    /// @param range  the bins that are asked for; the strongest bin is sought among all
    /// @return bins() values, those outside of the range without meaning; they may be changed, and last until
    ///         the next call
    [[nodiscard]] float* compute(const float* block, NoteBins::Range range);

private:
    [[nodiscard]] float strongest();

    std::unique_ptr<CRealFFT_If> fft_;
    std::vector<float> spectrum_;
    std::vector<float> values_;
};

}  // namespace eboKey
