#pragma once

/// A sample position freed from rounding errors: the nearest whole number if the position is that number up
/// to the precision of a double, otherwise the position as it is.
/// @throws boost::numeric::bad_numeric_cast for not-a-number and infinities,
///         boost::numeric::negative_overflow and boost::numeric::positive_overflow for what 64 bits do not
///         hold
[[nodiscard]] double exactSamplePosition(double position);
