#include "key/CKeyPreProcess.h"

#include "key/CFastResample.h"
#include "key/CHQResample.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <new>
#include <utility>

namespace eboKey {

namespace {

constexpr int kResamplerQuality = 5;

/// Whether all samples are within the limit. The bits of magnitudes order as these do, with NaN and infinity
/// on top; integers, because comparing floats would keep the compiler from using lanes.
bool allWithin(float limit, const std::vector<float>& samples, int count)
{
    constexpr std::uint32_t kMagnitude = 0x7fffffff;
    std::int32_t largest = 0;
    for (int i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint32_t>(samples[static_cast<std::size_t>(i)]) & kMagnitude;
        largest = std::max(largest, static_cast<std::int32_t>(bits));
    }
    return largest <= std::bit_cast<std::int32_t>(limit);
}

}  // namespace

Status CKeyPreProcess::create(std::unique_ptr<CKeyPreProcess>& instance, int inputRate, int outputRate,
                              int channels, int maxBlock, int useFastResampler)
{
    instance.reset();
    if (outputRate < 1 || channels < 1 || maxBlock < 1)
        return kInvalidArgument;
    if (inputRate < outputRate)
        return kSampleRateTooLow;
    std::unique_ptr<CResample_If> resampler;
    const Status status =
        useFastResampler == 0
            ? CHQResample::create(resampler, inputRate, outputRate, kResamplerQuality, maxBlock, 1)
            : CFastResample::create(resampler, inputRate, outputRate, CFastResample::Curve::kPolynomial,
                                    maxBlock, 1);
    if (status != kOk)
        return status;
    std::unique_ptr<CEqIf> eq;
    if (CEqIf::create(eq, 1, CEqIf::kHighPass, static_cast<float>(outputRate)) != kOk)
        return kOutOfMemory;
    eq->setParam(kCutOff, 0.0f, 1.0f);
    try {
        instance = std::make_unique<CKeyPreProcess>(channels, maxBlock, std::move(resampler), std::move(eq));
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return kOk;
}

CKeyPreProcess::CKeyPreProcess(int channels, int maxBlock, std::unique_ptr<CResample_If> resampler,
                               std::unique_ptr<CEqIf> eq)
    : channels_(channels), maxBlock_(maxBlock), resampler_(std::move(resampler)), eq_(std::move(eq)),
      mix_(static_cast<std::size_t>(channels > 1 ? maxBlock : 0)),
      output_(static_cast<std::size_t>(resampler_->maxOutput()))
{}

void CKeyPreProcess::process(const float* interleaved, CRingBuffer& ring, int* frames)
{
    if (!accepts(ring, *frames)) {
        *frames = 0;
        return;
    }
    if (channels_ == 1) {
        *frames = processMono(interleaved, ring, *frames);
        return;
    }
    const auto count = static_cast<std::size_t>(*frames);
    const auto stride = static_cast<std::size_t>(channels_);
    for (std::size_t i = 0; i < count; ++i) {
        const float* const frame = interleaved + i * stride;
        float sum = frame[0];
        for (std::size_t c = 1; c < stride; ++c)
            sum += frame[c];
        mix_[i] = sum;
    }
    *frames = processMono(mix_.data(), ring, *frames);
}

void CKeyPreProcess::process(const float* const* channels, CRingBuffer& ring, int* frames)
{
    if (!accepts(ring, *frames)) {
        *frames = 0;
        return;
    }
    if (channels_ == 1) {
        *frames = processMono(channels[0], ring, *frames);
        return;
    }
    std::copy_n(channels[0], *frames, mix_.begin());
    for (int c = 1; c < channels_; ++c)
        std::transform(mix_.begin(), mix_.begin() + *frames, channels[c], mix_.begin(), std::plus<>());
    *frames = processMono(mix_.data(), ring, *frames);
}

bool CKeyPreProcess::accepts(CRingBuffer& ring, int frames)
{
    if (frames < 0 || frames > maxBlock_)
        return false;
    appendRest(ring);
    return restBegin_ == restEnd_;
}

int CKeyPreProcess::processMono(const float* mono, CRingBuffer& ring, int frames)
{
    restBegin_ = 0;
    restEnd_ = resampler_->process(mono, frames, output_.data());
    eq_->process(output_.data(), output_.data(), restEnd_);
    if (!allWithin(kLargestOutput, output_, restEnd_))
        removeOverflow(restEnd_);
    appendRest(ring);
    return restEnd_;
}

void CKeyPreProcess::removeOverflow(int frames)
{
    const auto isOverflow = [](float sample) { return !(std::abs(sample) <= kLargestOutput); };
    std::replace_if(output_.begin(), output_.begin() + frames, isOverflow, 0.0f);
    eq_->reset();
}

int CKeyPreProcess::appendRest(CRingBuffer& ring)
{
    const int appended = ring.append(output_.data() + restBegin_, restEnd_ - restBegin_);
    restBegin_ += appended;
    return appended;
}

}  // namespace eboKey
