#pragma once

#include "formats/TrackLength.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <optional>

namespace tunesift::probe {

/// What a plain decode of a whole file tells of it.
struct Decoding {
    bool opened = false;
    quint32 sampleRate = 0;  ///< Hz.
    quint32 channels = 0;
    quint64 statedFrames = 0;  ///< By the file's own headers, believed or not; else counted.
    TrackLength::Ending ending = TrackLength::Ending::kAsStated;  ///< Where the sound ended by them.
    bool hasFailed = false;                                       ///< It could not be read to its end.
    bool digestDiffers = false;  ///< The sound is not that of which the file carries a digest.
    quint64 decodedFrames = 0;
    double peak = 0.0;          ///< Highest absolute sample, 1 for full scale.
    quint64 clippedPlaces = 0;  ///< Three or more samples of a channel in a row at full scale.
    QStringList complaints;     ///< Of the decoders, each once.

    /// Bytes that the file should have by its outermost header; nothing if it has none or tells nothing.
    std::optional<qint64> announcedBytes;
    qint64 bytes = 0;  ///< That it has.
};

/// Decodes the file from end to end, in the format that its name asks for.
[[nodiscard]] Decoding decode(const QString& path);

}  // namespace tunesift::probe
