#pragma once

#include <cstdint>

/// One onset in one octave band.
struct TransientEvent {
    std::uint32_t band;      ///< 0 to 8, 0 being the lowest.
    float strength;          ///< Scaled band level at the onset.
    float bpm;               ///< The tempo that `interval` would mean as the length of a beat.
    std::uint32_t interval;  ///< Samples since the band's previous onset.
};
