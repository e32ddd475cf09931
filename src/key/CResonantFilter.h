#pragma once

#include "key/sineCosine.h"

#include <cmath>

namespace eboDsp {

/// A resonator: two poles and no zero, with the gain 1 at its frequency. One thread.
class CResonantFilter {
public:
    struct Coefficients {
        float a1 = 0.0f;
        float a2 = 0.0f;
        float gain = 0.0f;
    };

    /// The filter that rings at `frequency`, its poles at the distance `radius` from 0. A ringing falls to
    /// 1/e in 1 / -ln(radius) samples; the width of the peak at -3 dB is about sampleRate * -ln(radius) / pi.
    /// The gain is what the poles' own response has at the frequency, inverted.
    /// @param frequency, sampleRate  Hz; the frequency at most 1e5 times the rate
    /// @param radius                 0 to below 1
    [[nodiscard]] static Coefficients coefficients(float frequency, float radius, float sampleRate)
    {
        constexpr float kTurn = 6.2831855f;  // 2 pi
        const auto [sine, cosine] = sineCosine(frequency * kTurn / sampleRate);
        const float square = radius * radius;
        const float across = (square - 1.0f) * sine;
        const float along = (square + 1.0f) * cosine - 2.0f * radius * cosine;
        return {2.0f * radius * cosine, -square, std::sqrt(across * across + along * along)};
    }

    /// A filter that lets nothing through until it is designed. @param sampleRate Hz
    explicit CResonantFilter(int sampleRate) : sampleRate_(sampleRate) {}
    virtual ~CResonantFilter() = default;

    /// Gives the filter another frequency and radius, which it takes over at the start of the next call of
    /// `process`. What rings in it rings on.
    void design(float frequency, float radius);

    /// Filters the next samples. @param out may be the buffer of `in`
    void process(const float* in, float* out, int count);

    /// Takes the input `x` and moves the last two outputs on. `Value` is a float or a vector of them.
    template <typename Value>
    [[gnu::always_inline]] static void step(const Value& x, const Value& gain, const Value& a1,
                                            const Value& a2, Value& y1, Value& y2)
    {
        const Value y = x * gain + y1 * a1 + y2 * a2;
        y2 = y1;
        y1 = y;
    }

private:
    bool dirty_ = false;
    Coefficients working_;
    Coefficients target_;
    float y1_ = 0.0f;
    float y2_ = 0.0f;
    int sampleRate_;
};

}  // namespace eboDsp
