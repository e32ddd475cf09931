#include "key/keyLabel.h"

#include <array>
#include <cstddef>

namespace eboKey {

const char* keyLabel(int key)
{
    static constexpr std::array kLabels{"A:maj",  "A#:maj", "B:maj", "C:maj",  "C#:maj", "D:maj",
                                        "D#:maj", "E:maj",  "F:maj", "F#:maj", "G:maj",  "G#:maj",
                                        "A:min",  "A#:min", "B:min", "C:min",  "C#:min", "D:min",
                                        "D#:min", "E:min",  "F:min", "F#:min", "G:min",  "G#:min"};
    const auto index = static_cast<std::size_t>(key);  // a negative number becomes a large one
    return index < kLabels.size() ? kLabels[index] : "-";
}

}  // namespace eboKey
