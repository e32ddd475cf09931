#include "formats/flac/flacFormat.h"

#include "formats/createReaderOf.h"
#include "formats/flac/flacFileReader.h"

FormatEntry flacFormat()
{
    FormatEntry entry;
    entry.extensions = QStringLiteral("flac;oga");
    entry.canRead = [](const QString& path) {
        return path.endsWith(QLatin1String(".flac"), Qt::CaseInsensitive) ||
               path.endsWith(QLatin1String(".oga"), Qt::CaseInsensitive) ||
               path == QLatin1String("AUDIO::flac");
    };
    entry.createReader = &createReaderOf<flacFileReader>;
    return entry;
}
