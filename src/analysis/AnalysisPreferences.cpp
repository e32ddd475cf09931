#include "analysis/AnalysisPreferences.h"

#include <QtEndian>

#include <algorithm>
#include <array>

AnalysisPreferences AnalysisPreferences::fromPayload(const QByteArray& payload)
{
    AnalysisPreferences result;
    std::array<char, kRecordSize> record{};
    qToLittleEndian(result.minimumBpm, record.data());
    qToLittleEndian(result.maximumBpm, record.data() + 4);
    std::fill(record.begin() + 8, record.end(), char{1});

    std::copy_n(payload.begin(), std::min(payload.size(), kRecordSize), record.begin());

    result.minimumBpm = qFromLittleEndian<std::int32_t>(record.data());
    result.maximumBpm = qFromLittleEndian<std::int32_t>(record.data() + 4);
    result.detectKey = record[8] != 0;
    result.flagB = record[9] != 0;
    result.flagC = record[10] != 0;
    return result;
}
