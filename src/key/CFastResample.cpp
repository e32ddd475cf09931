#include "key/CFastResample.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

namespace {

constexpr int kHistoryFrames = 3;
constexpr int kLongestBlock = 1 << 20;

/// @param x  four neighbouring inputs, @param t  the way from the second to the third
float polynomial(const float* x, float t)
{
    const float a = x[3] - x[2] - x[0] + x[1];
    const float b = x[0] - x[1] - a;
    const float c = x[2] - x[0];
    return ((a * t + b) * t + c) * t + x[1];
}

float hermite(const float* x, float t)
{
    const float slope1 = (x[2] - x[0]) * 0.5f;
    const float slope2 = (x[3] - x[1]) * 0.5f;
    const float rise = x[2] - x[1];
    const float a = slope1 + slope2 - 2.0f * rise;
    const float b = 3.0f * rise - 2.0f * slope1 - slope2;
    return ((a * t + b) * t + slope1) * t + x[1];
}

}  // namespace

eboKey::Status CFastResample::create(std::unique_ptr<CResample_If>& instance, int inputRate, int outputRate,
                                     Curve curve, int maxBlock, int channels)
{
    instance.reset();
    if (inputRate <= 0 || outputRate <= 0 || maxBlock <= 0 || maxBlock > kLongestBlock || channels != 1)
        return eboKey::kInvalidArgument;
    const std::int64_t maxOutput =
        (static_cast<std::int64_t>(maxBlock) * outputRate + inputRate - 1) / inputRate;
    if (maxOutput > kLongestBlock)
        return eboKey::kInvalidArgument;
    try {
        instance.reset(
            new CFastResample(inputRate, outputRate, curve, maxBlock, static_cast<int>(maxOutput)));
        return eboKey::kOk;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}

CFastResample::CFastResample(int inputRate, int outputRate, Curve curve, int maxBlock, int maxOutput)
    : inputRate_(inputRate), outputRate_(outputRate), curve_(curve), maxOutput_(maxOutput),
      clock_(inputRate, outputRate), buffer_(static_cast<std::size_t>(kHistoryFrames + maxBlock))
{
    reset();
}

void CFastResample::reset()
{
    std::fill(buffer_.begin(), buffer_.end(), 0.0f);
    // From here on frames are counted from the oldest in the history.
    clock_ = OutputClock(inputRate_, outputRate_);
    clock_.rebase(-kHistoryFrames);
}

int CFastResample::process(const float* in, int frames, float* out)
{
    if (frames <= 0)
        return 0;
    float* const history = buffer_.data();
    std::copy_n(in, frames, history + kHistoryFrames);

    const auto outputs = static_cast<int>(clock_.outputsBefore(kHistoryFrames + frames - 2));
    const auto interpolate = curve_ == Curve::kHermite ? hermite : polynomial;
    for (int i = 0; i < outputs; ++i, clock_.advance(1)) {
        const auto phase = static_cast<double>(clock_.phase()) / static_cast<double>(clock_.phases());
        out[i] = interpolate(history + clock_.frame() - 1, static_cast<float>(phase));
    }

    std::copy(history + frames, history + frames + kHistoryFrames, history);
    clock_.rebase(frames);
    return outputs;
}
