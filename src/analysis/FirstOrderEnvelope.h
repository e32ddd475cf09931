#pragma once

#include "analysis/EnvelopeInterface.h"

#include <cmath>

namespace eboEnvelopes {

/// One-pole smoothing with a speed of its own for rise and fall. Single precision throughout.
class FirstOrderEnvelope final : public EnvelopeInterface {
public:
    /// @param rate                updates per second
    /// @param attackMilliseconds, releaseMilliseconds  time constants of rise and fall; at 0 the envelope
    ///                            follows at once
    FirstOrderEnvelope(float rate, float attackMilliseconds, float releaseMilliseconds)
        : rate_(rate), attack_(coefficient(attackMilliseconds)), release_(coefficient(releaseMilliseconds))
    {}

    float process(float value) override
    {
        const float c = state_ <= value ? attack_ : release_;
        state_ = c * value + (1.0f - c) * state_;
        return state_;
    }

    /// The value of the last step, at first 0.
    [[nodiscard]] float state() const { return state_; }

    /// Forgets the past: the envelope is 0 again.
    void clear() { state_ = 0.0f; }

private:
    [[nodiscard]] float coefficient(float milliseconds) const
    {
        return milliseconds > 0.0f ? 1.0f - std::exp(-1000.0f / (milliseconds * rate_)) : 1.0f;
    }

    float rate_;
    float attack_;
    float release_;
    float state_ = 0.0f;
};

}  // namespace eboEnvelopes
