#pragma once

#include <array>
#include <cstddef>

/// The ways to write one key.
struct KeySpelling {
    const char* sharp;
    const char* flat;
    const char* numberForm;  ///< 1d to 12d for major, 1m to 12m for minor keys, from C and Am up in fifths.
    const char* letterForm;  ///< 1B to 12B for major, 1A to 12A for minor keys, from B and G#m up in fifths.
};

/// The meaning of the key numbers that the worker reports: round the circle of fifths from C, each major key
/// (an even number) followed by its relative minor.
inline constexpr std::array<KeySpelling, 24> kKeyTable{
    {{"C", "C", "1d", "8B"},      {"Am", "Am", "1m", "8A"},    {"G", "G", "2d", "9B"},
     {"Em", "Em", "2m", "9A"},    {"D", "D", "3d", "10B"},     {"Bm", "Bm", "3m", "10A"},
     {"A", "A", "4d", "11B"},     {"F#m", "Gbm", "4m", "11A"}, {"E", "E", "5d", "12B"},
     {"C#m", "Dbm", "5m", "12A"}, {"B", "B", "6d", "1B"},      {"G#m", "Abm", "6m", "1A"},
     {"F#", "Gb", "7d", "2B"},    {"D#m", "Ebm", "7m", "2A"},  {"C#", "Db", "8d", "3B"},
     {"A#m", "Bbm", "8m", "3A"},  {"G#", "Ab", "9d", "4B"},    {"Fm", "Fm", "9m", "4A"},
     {"D#", "Eb", "10d", "5B"},   {"Cm", "Cm", "10m", "5A"},   {"A#", "Bb", "11d", "6B"},
     {"Gm", "Gm", "11m", "6A"},   {"F", "F", "12d", "7B"},     {"Dm", "Dm", "12m", "7A"}}};
