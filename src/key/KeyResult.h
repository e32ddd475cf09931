#pragma once

#include <cstddef>
#include <cstdint>

/// A key detector's answer. Key numbers run from 0 to 11 for major and from 12 to 23 for minor keys, in
/// chromatic order from A; -1 is no key. Texts are UTF-8, ended by 0: see eboKey::keyLabel.
struct KeyResult {
    char keyText[1024];  ///< "-" for none.
    std::int32_t keyNumber;
    float strength;         ///< 0 for a guess to 1 for a clear case.
    float tuningFrequency;  ///< Where the music's A above middle C lies, in Hz.
    char secondKeyText[1024];
    std::int32_t secondKeyNumber;
    float secondStrength;
};

// A fixed layout, shared with whoever fills or reads the record by offset.
static_assert(sizeof(KeyResult) == 2068);
static_assert(offsetof(KeyResult, keyNumber) == 1024);
static_assert(offsetof(KeyResult, strength) == 1028);
static_assert(offsetof(KeyResult, tuningFrequency) == 1032);
static_assert(offsetof(KeyResult, secondKeyText) == 1036);
static_assert(offsetof(KeyResult, secondKeyNumber) == 2060);
static_assert(offsetof(KeyResult, secondStrength) == 2064);
