#pragma once

#include <cmath>

namespace tunesift::cli {

/// A linear amplitude in decibels relative to full scale; minus infinity for 0.
[[nodiscard]] inline double decibels(double amplitude) { return 20.0 * std::log10(amplitude); }

}  // namespace tunesift::cli
