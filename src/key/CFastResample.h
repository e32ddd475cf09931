#pragma once

#include "key/CResample_If.h"
#include "key/OutputClock.h"
#include "key/keyStatus.h"

#include <memory>
#include <vector>

/// A cheap resampler: a cubic curve through four neighbouring inputs. It has no low-pass, so what lies above
/// half of a lower output rate comes back as aliases.
///
/// Output k of a stream lies at input time k * inputRate / outputRate, exactly; it is made as soon as the
/// second input after it is there. Zeros stand before the stream.
class CFastResample final : public CResample_If {
public:
    enum class Curve : int {
        kPolynomial = 0,  ///< Bourke's cubic: leaves an input with the whole difference of its neighbours
                          ///< as its slope (https://paulbourke.net/miscellaneous/interpolation)
        kHermite = 1,     ///< half that difference is the slope at both ends
    };

    /// @param inputRate  Hz, as is @param outputRate
    /// @param maxBlock   the most frames that `process` is given at once
    /// @param channels   1
    /// @return kInvalidArgument also if a block would be longer than 2^20 frames when it goes in or comes
    ///         out, or kOutOfMemory, with `instance` null
    static eboKey::Status create(std::unique_ptr<CResample_If>& instance, int inputRate, int outputRate,
                                 Curve curve, int maxBlock, int channels);

    int process(const float* in, int frames, float* out) override;
    [[nodiscard]] int maxOutput() const override { return maxOutput_; }
    void reset() override;

private:
    CFastResample(int inputRate, int outputRate, Curve curve, int maxBlock, int maxOutput);

    const int inputRate_;
    const int outputRate_;
    const Curve curve_;
    const int maxOutput_;
    OutputClock clock_;
    std::vector<float> buffer_;  // the last inputs, then the block
};
