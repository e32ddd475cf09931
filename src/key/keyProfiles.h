#pragma once

#include <array>

namespace eboKey {

inline constexpr int kPitchClasses = 12;
inline constexpr int kKeys = 24;  ///< Twelve major keys from A upward, then twelve minor keys.
inline constexpr int kProfileSets = 4;

/// How much each degree of the scale belongs to a key, from the tonic upward; adds up to 1.
using KeyProfile = std::array<float, kPitchClasses>;

struct KeyProfilePair {
    KeyProfile major;
    KeyProfile minor;
};

using KeyProfiles = std::array<KeyProfilePair, kProfileSets>;

/// The templates that a chroma is compared with. Set 0 is the notes of the scale; sets 1 and 2 are the
/// probe-tone ratings of Krumhansl and Kessler (C. L. Krumhansl, "Cognitive Foundations of Musical Pitch",
/// 1990), the minor ones of set 2 slightly changed; set 3 is after D. Temperley ("What's Key for Key?", Music
/// Perception 17, 1999). A sounding note also sounds in its overtones, so each degree is given a share in the
/// third and the fifth above it.
[[nodiscard]] const KeyProfiles& keyProfiles();

}  // namespace eboKey
