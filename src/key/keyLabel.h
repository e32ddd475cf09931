#pragma once

namespace eboKey {

/// The text of a key number: "A:maj", "A#:maj" to "G#:maj" for 0 to 11, "A:min" to "G#:min" for 12 to 23, and
/// "-" for every other number. Names have sharps only.
[[nodiscard]] const char* keyLabel(int key);

}  // namespace eboKey
