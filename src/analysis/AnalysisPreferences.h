#pragma once

#include <QByteArray>
#include <QMetaType>

#include <cstdint>

/// What the host asks of a run. Crosses to the run's thread by value, as the meta-type of this name.
///
/// In a start command it is a record of 12 bytes, little-endian: two int32, three bytes that mean true when
/// they are not 0, one byte of filler.
struct AnalysisPreferences {
    std::int32_t minimumBpm = 58;   ///< Tempo range: from this value to twice this value.
    std::int32_t maximumBpm = 195;  ///< Carried for the host; nothing here reads it.
    bool detectKey = true;
    bool flagB = true;  ///< Carried for the host; nothing here reads it.
    bool flagC = true;  ///< Carried for the host; nothing here reads it.

    static constexpr int kRecordSize = 12;

    /// Reads the record at the start of a start command's payload. Where the payload is too short for a byte
    /// of it, that byte has its default.
    [[nodiscard]] static AnalysisPreferences fromPayload(const QByteArray& payload);

    bool operator==(const AnalysisPreferences&) const = default;
};

static_assert(sizeof(AnalysisPreferences) == AnalysisPreferences::kRecordSize);

Q_DECLARE_METATYPE(AnalysisPreferences)
