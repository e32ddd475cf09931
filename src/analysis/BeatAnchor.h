#pragma once

#include <cstdint>
#include <type_traits>

/// A beat at a known place. The record goes to the host byte for byte, little-endian.
struct BeatAnchor {
    double samplePosition = 0.0;    ///< In samples; may be negative.
    std::int64_t beatNumber = 0;    ///< Beat 0 is a downbeat.
    std::uint32_t beatsToNext = 0;  ///< Beats to the next anchor; 0 in the last one.
    std::uint32_t filler = 0;       ///< Part of the record's size, 0 so that equal grids have equal bytes.

    bool operator==(const BeatAnchor&) const = default;
};

static_assert(sizeof(BeatAnchor) == 24 && std::is_trivially_copyable_v<BeatAnchor>);
