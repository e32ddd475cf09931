#pragma once

#include <cstdint>
#include <optional>
#include <span>

/// What the head of one packet of MPEG audio says.
struct PacketHeader {
    int bytes = 0;   ///< Of the whole packet, its head included.
    int frames = 0;  ///< That it decodes to, at its own rate.
    int sampleRate = 0;
    int channels = 0;

    bool operator==(const PacketHeader&) const = default;
};

/// One of the functions below.
using ParsePacketHeader = std::optional<PacketHeader> (*)(std::span<const std::uint8_t> bytes);

/// The head of a frame of MPEG audio (ISO 11172-3 and 13818-3, layers I to III, and the half rates below
/// them). Nothing where there is none, and for frames of free format, whose length no head tells.
[[nodiscard]] std::optional<PacketHeader> mpegHeader(std::span<const std::uint8_t> bytes);

/// The head of a frame of AAC in an ADTS stream (ISO 13818-7).
[[nodiscard]] std::optional<PacketHeader> adtsHeader(std::span<const std::uint8_t> bytes);
