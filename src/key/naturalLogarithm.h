#pragma once

#include <bit>
#include <cstdint>

namespace eboDsp {

/// The natural logarithm, to 2e-7 of the larger of itself and 1, by plain arithmetic without branches: a loop
/// over it runs in lanes, and its bits do not depend on the machine's library. That of 1 is 0.
/// @param x  a positive number in full precision, not infinity
[[nodiscard]] inline float naturalLogarithm(float x)
{
    constexpr float kLogarithmOfTwo = 0.6931472f;
    constexpr std::int32_t kRootOfHalf = 0x3f3504f3;  // the bits of 0.70710677
    constexpr int kFractionBits = 23;

    // x = m * 2^e with m from the root of a half to the root of two.
    const auto bits = std::bit_cast<std::int32_t>(x);
    const std::int32_t e = (bits - kRootOfHalf) >> kFractionBits;
    const auto m = std::bit_cast<float>(bits - e * (1 << kFractionBits));

    // ln m = 2 artanh s, by its Taylor series.
    const float s = (m - 1.0f) / (m + 1.0f);
    const float ss = s * s;
    const float series = 1.0f + ss * (1.0f / 3 + ss * (1.0f / 5 + ss * (1.0f / 7 + ss * (1.0f / 9))));
    return static_cast<float>(e) * kLogarithmOfTwo + 2.0f * s * series;
}

}  // namespace eboDsp
