#include "formats/ffmpeg/ffmpegFormat.h"

#include "formats/createReaderOf.h"
#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/ffmpeg/prepareFfmpeg.h"

#include <QRegularExpression>

FormatEntry ffmpegFormat()
{
    prepareFfmpeg();
    FormatEntry entry;
    entry.extensions = QStringLiteral("mp3;m4a;mp4;aac;aif;aiff;wav");
    entry.canRead = [](const QString& path) {
        static const QRegularExpression pattern(QStringLiteral("\\.(mp3|m4a|mp4|aac|aif|aiff|wav)$"));
        return pattern.match(path.toLower()).hasMatch();
    };
    entry.createReader = &createReaderOf<ffmpegFileReader>;
    return entry;
}
