#pragma once

#include <array>

namespace eboKey {

/// A key by its place on the circle of fifths.
struct FifthsEstimate {
    int key;         ///< 0 to 23.
    float strength;  ///< 0 for keys all round the circle to 1 for one key alone.
};

/// Takes the strengths that a track's keys gathered as weights on the circle of fifths, and finds the point
/// that they balance on, four times: for major keys, minor keys, each major key with its relative minor, and
/// each with its parallel minor. The four centres of gravity (directional statistics; compare Mardia and
/// Jupp, "Directional Statistics") vote for the keys around them.
/// @param keySums  strength of each key, not below 0
[[nodiscard]] FifthsEstimate circleOfFifthsKey(const std::array<double, 24>& keySums);

}  // namespace eboKey
