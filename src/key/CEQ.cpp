#include "key/CEQ.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace eboKey {

namespace {

constexpr float kLowestFrequency = 0.005f;  // of the sample rate
constexpr float kTrace = 1e-12f;

}  // namespace

Status CEqIf::create(std::unique_ptr<CEqIf>& instance, int channels, int type, float sampleRate)
{
    instance.reset();
    if (channels < 1 || type != kHighPass || !(sampleRate > 0.0f))
        return kInvalidArgument;
    try {
        instance = std::make_unique<CEQ>(channels, sampleRate);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
    return kOk;
}

CEQ::CEQ(int channels, float sampleRate)
    : sampleRate_(sampleRate), states_(static_cast<std::size_t>(channels))
{}

void CEQ::setParam(float frequency, float gain, float q)
{
    frequency_ = frequency / sampleRate_;
    gain_ = gain;
    q_ = q;
    dirty_ = true;
}

void CEQ::getParam(float* frequency, float* gain, float* q) const
{
    *frequency = frequency_ * sampleRate_;
    *gain = gain_;
    *q = q_;
}

void CEQ::reset() { std::fill(states_.begin(), states_.end(), State{}); }

void CEQ::design()
{
    constexpr float kPi = 3.1415927f;
    constexpr float kRootOfTwo = 1.4142135f;  // Butterworth: 1 / q
    // By the double function, whose last bit the machine's library may choose: not that of the float.
    const auto k = static_cast<float>(std::tan(double{frequency_ * kPi}));
    const float n = 1.0f / (k * kRootOfTwo + 1.0f + k * k);
    b0_ = n;
    b1_ = -2.0f * n;
    b2_ = n;
    a1_ = 2.0f * n * (k * k - 1.0f);
    a2_ = (1.0f - k * kRootOfTwo + k * k) * n;
    bypass_ = frequency_ < kLowestFrequency;
    dirty_ = false;
}

void CEQ::process(const float* in, float* out, int frames)
{
    if (dirty_)
        design();
    for (std::size_t channel = 0; channel < states_.size(); ++channel)
        filter(states_[channel], in + channel, out + channel, states_.size(), frames);
}

void CEQ::process(const float* const* in, float* const* out, int frames)
{
    if (dirty_)
        design();
    for (std::size_t channel = 0; channel < states_.size(); ++channel)
        filter(states_[channel], in[channel], out[channel], 1, frames);
}

void CEQ::filter(State& state, const float* in, float* out, std::size_t stride, int frames) const
{
    const std::size_t end = static_cast<std::size_t>(std::max(frames, 0)) * stride;
    if (bypass_) {
        if (in != out)
            for (std::size_t i = 0; i < end; i += stride)
                out[i] = in[i];
        return;
    }
    auto [x1, x2, y1, y2] = state;
    for (std::size_t i = 0; i < end; i += stride) {
        const float x = in[i];
        const float y = b0_ * x + b1_ * x1 + b2_ * x2 - a1_ * y1 - a2_ * y2;
        x2 = x1;
        x1 = x;
        y2 = y1 + kTrace;
        y1 = y;
        out[i] = y;
    }
    state = {x1, x2, y1, y2};
}

}  // namespace eboKey
