#pragma once

#include "key/CResample_If.h"
#include "key/keyStatus.h"

#include <memory>
#include <vector>

/// The resampler that the key detection listens through: it gives at most as many samples per call as it
/// takes, and keeps what is left over for the next call.
///
/// Only if the rate goes up is anything left over. The caller then calls with 0 frames until less than
/// maxOutput() comes back; input that comes with more than maxOutput() samples left over is ignored, so that
/// the memory stays bounded.
class CHQResample : public CResample_If {
public:
    /// As CResampleFloat::create. @param maxBlock  also the most samples that a call of `process` gives
    static eboKey::Status create(std::unique_ptr<CResample_If>& instance, int inputRate, int outputRate,
                                 int quality, int maxBlock, int channels);

    /// @param resampler  has been given nothing yet
    CHQResample(std::unique_ptr<CResample_If> resampler, int maxBlock);

    int process(const float* in, int frames, float* out) override;
    [[nodiscard]] int maxOutput() const override { return maxBlock_; }
    void reset() override;

private:
    const std::unique_ptr<CResample_If> resampler_;
    const int maxBlock_;
    std::vector<float> rest_;  // empty if the resampler never gives more than a block
    int restLength_ = 0;
};
