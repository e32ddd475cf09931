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
        : attack_(coefficient(rate, attackMilliseconds)), release_(coefficient(rate, releaseMilliseconds))
    {}

    float process(float value) override
    {
        // Both results are at hand before the comparison is: nothing waits for it.
        const float risen = attack_ * value + attackRest_ * state_;
        const float fallen = release_ * value + releaseRest_ * state_;
        state_ = state_ <= value ? risen : fallen;
        return state_;
    }

    /// The value of the last step, at first 0.
    [[nodiscard]] float state() const { return state_; }

    /// The weight of a new value for a time constant, at `rate` updates per second.
    [[nodiscard]] static float coefficient(float rate, float milliseconds)
    {
        return milliseconds > 0.0f ? 1.0f - std::exp(-1000.0f / (milliseconds * rate)) : 1.0f;
    }

private:
    float attack_;
    float release_;
    float attackRest_ = 1.0f - attack_;  // the share of the old state in a step
    float releaseRest_ = 1.0f - release_;
    float state_ = 0.0f;
};

}  // namespace eboEnvelopes
