#pragma once

#include <QString>

#include <cstdint>
#include <optional>

class eboAudioFormatReader;

/// Why a track cannot be analysed, in words for people that go on after "it"; nothing if it can.
[[nodiscard]] std::optional<QString> reasonAgainst(const eboAudioFormatReader& reader);

/// The same for a track that can be read but is not longer than one detector frame.
[[nodiscard]] QString tooShortReason(std::uint32_t frames);
