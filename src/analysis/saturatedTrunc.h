#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace analysis {

/// `value` cut to a whole number, with a defined result where a plain conversion has none: what lies beyond
/// the range of `Integer` becomes its nearest end, not-a-number becomes 0.
template <std::integral Integer, std::floating_point Real>
[[nodiscard]] Integer saturatedTrunc(Real value)
{
    using Limits = std::numeric_limits<Integer>;
    // 2 to the number of value bits: exact in every Real, unlike the largest Integer itself.
    constexpr Real kEnd = static_cast<Real>(Integer{1} << (Limits::digits - 1)) * 2;
    if (std::isnan(value))
        return 0;
    if (value <= static_cast<Real>(Limits::min()))
        return Limits::min();
    return value >= kEnd ? Limits::max() : static_cast<Integer>(value);
}

}  // namespace analysis
