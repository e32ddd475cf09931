#include "cli/picture/waveformFile.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace tunesift::cli {
namespace {

constexpr int kVersion = 2;
constexpr int kBits = 8;
constexpr int kChannels = 1;

/// 0 to 127.
int levelOf(const host::HighResolutionWave::Entry& entry)
{
    return std::max({entry[0], entry[1], entry[2]}) / 2;
}

qint32 rounded(double value) { return static_cast<qint32>(std::lround(value)); }

}  // namespace

QByteArray waveformJson(const TrackWaves& waves)
{
    QByteArray data;
    for (const auto& entry : waves.highResolution) {
        const QByteArray level = QByteArray::number(levelOf(entry));
        data += (data.isEmpty() ? "" : ",") + (level == "0" ? level : '-' + level) + ',' + level;
    }
    const auto member = [](const char* name, qint64 value) {
        return '"' + QByteArray(name) + "\":" + QByteArray::number(value) + ',';
    };
    return '{' + member("version", kVersion) + member("channels", kChannels) +
           member("sample_rate", rounded(*waves.result.sampleRate)) +
           member("samples_per_pixel", rounded(waves.framesPerEntry)) + member("bits", kBits) +
           member("length", static_cast<qint64>(waves.highResolution.size())) + "\"data\":[" + data + "]}\n";
}

QByteArray waveformData(const TrackWaves& waves)
{
    constexpr qint32 kEightBits = 1;
    const std::array header{kVersion,
                            kEightBits,
                            rounded(*waves.result.sampleRate),
                            rounded(waves.framesPerEntry),
                            static_cast<qint32>(waves.highResolution.size()),
                            kChannels};
    QByteArray bytes(static_cast<int>(header.size() * sizeof(qint32)), '\0');
    char* at = bytes.data();
    for (const qint32 number : header) {
        qToLittleEndian(number, at);
        at += sizeof number;
    }
    for (const auto& entry : waves.highResolution) {
        const int level = levelOf(entry);
        bytes += static_cast<char>(-level);
        bytes += static_cast<char>(level);
    }
    return bytes;
}

}  // namespace tunesift::cli
