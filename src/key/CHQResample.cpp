#include "key/CHQResample.h"

#include "key/CResampleFloat.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

eboKey::Status CHQResample::create(std::unique_ptr<CResample_If>& instance, int inputRate, int outputRate,
                                   int quality, int maxBlock, int channels)
{
    instance.reset();
    std::unique_ptr<CResampleFloat> resampler;
    const eboKey::Status status =
        CResampleFloat::create(resampler, inputRate, outputRate, quality, maxBlock, channels);
    if (status != eboKey::kOk)
        return status;
    try {
        instance = std::make_unique<CHQResample>(std::move(resampler), maxBlock);
        return eboKey::kOk;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}

CHQResample::CHQResample(std::unique_ptr<CResample_If> resampler, int maxBlock)
    : resampler_(std::move(resampler)), maxBlock_(maxBlock)
{
    if (resampler_->maxOutput() > maxBlock)
        rest_.resize(static_cast<std::size_t>(maxBlock) + static_cast<std::size_t>(resampler_->maxOutput()));
}

int CHQResample::process(const float* in, int frames, float* out)
{
    if (rest_.empty())
        return resampler_->process(in, frames, out);

    if (restLength_ <= maxBlock_)
        restLength_ += resampler_->process(in, frames, rest_.data() + restLength_);
    const int given = std::min(restLength_, maxBlock_);
    std::copy_n(rest_.begin(), given, out);
    std::copy(rest_.begin() + given, rest_.begin() + restLength_, rest_.begin());
    restLength_ -= given;
    return given;
}

void CHQResample::reset()
{
    resampler_->reset();
    restLength_ = 0;
}
