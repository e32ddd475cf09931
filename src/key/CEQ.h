#pragma once

#include "key/CEqIf.h"

#include <cstddef>
#include <vector>

namespace eboKey {

/// The high-pass filter of second order after Butterworth, by the bilinear transform, as a biquad in direct
/// form I. Below a two-hundredth of the sample rate, where single precision no longer tells its poles from 1,
/// the filter is bypassed.
///
/// In silence a trace of an offset, about 1e-12 in the recursion, keeps it and all filters behind it out of
/// numbers too small for full precision.
class CEQ : public CEqIf {
public:
    /// @param channels    at least 1
    /// @param sampleRate  Hz, above 0
    CEQ(int channels, float sampleRate);

    void process(const float* in, float* out, int frames) override;
    void process(const float* const* in, float* const* out, int frames) override;
    void setParam(float frequency, float gain, float q) override;
    void getParam(float* frequency, float* gain, float* q) const override;
    [[nodiscard]] bool isBypassed() const override { return bypass_; }
    void reset() override;

private:
    struct State {
        float x1 = 0.0f;
        float x2 = 0.0f;
        float y1 = 0.0f;
        float y2 = 0.0f;
    };

    void design();
    void filter(State& state, const float* in, float* out, std::size_t stride, int frames) const;

    const float sampleRate_;  // Hz
    std::vector<State> states_;
    float b0_ = 0.0f;
    float b1_ = 0.0f;
    float b2_ = 0.0f;
    float a1_ = 0.0f;
    float a2_ = 0.0f;
    bool dirty_ = true;
    bool bypass_ = false;
    float frequency_ = 0.5f;  // of the sample rate
    float gain_ = 0.0f;       // dB
    float q_ = 1.0f;
};

}  // namespace eboKey
