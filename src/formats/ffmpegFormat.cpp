#include "formats/ffmpegFormat.h"

#include "formats/ffmpegFileReader.h"
#include "formats/prepareFfmpeg.h"

#include <QByteArray>
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
    entry.createReader = [](const QString& path,
                            const ebo::refptr<eboFileFactory>& factory) -> ebo::refptr<eboFormatReader> {
        const ebo::refptr<eboFile> file = factory->open(path.toUtf8().constData(), eboFile::OpenRead);
        if (!file)
            return nullptr;
        return ebo::makeRef<ffmpegFileReader>(file);
    };
    return entry;
}
