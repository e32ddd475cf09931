#pragma once

namespace eboDsp {

struct SineCosine {
    float sine;
    float cosine;
};

/// The sine and cosine of an angle in radians, to 2e-7 up to 1 and to 1e-6 within a turn, by plain single
/// precision arithmetic without branches: a loop over it runs in lanes, and its bits do not depend on the
/// machine's library.
///
/// Of an angle above some thousand turns, which as a float has little phase left, the results are finite but
/// arbitrary, and above 1e6 turns they leave the range of a sine.
[[nodiscard]] inline SineCosine sineCosine(float angle)
{
    constexpr float kPerTurn = 0.15915494f;    // 1 / 2 pi
    constexpr float kTurnHigh = 6.28125f;      // 2 pi, its first bits, so that multiples are exact,
    constexpr float kTurnLow = 0.0019353072f;  // and the others
    constexpr float kToInteger = 12582912.0f;  // 1.5 * 2^23: at this size the floats are the integers

    const float turns = (angle * kPerTurn + kToInteger) - kToInteger;
    const float x = 0.5f * ((angle - turns * kTurnHigh) - turns * kTurnLow);

    // The Taylor series of sine and cosine, which below a quarter turn have fewer terms to go, then the
    // formulas of the double angle.
    const float xx = x * x;
    const float sine =
        x * (1.0f +
             xx * (-1.0f / 6 +
                   xx * (1.0f / 120 + xx * (-1.0f / 5040 + xx * (1.0f / 362880 + xx * (-1.0f / 39916800))))));
    const float cosine =
        1.0f +
        xx * (-0.5f + xx * (1.0f / 24 +
                            xx * (-1.0f / 720 +
                                  xx * (1.0f / 40320 + xx * (-1.0f / 3628800 + xx * (1.0f / 479001600))))));
    return {2.0f * sine * cosine, 1.0f - 2.0f * sine * sine};
}

}  // namespace eboDsp
