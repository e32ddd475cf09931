#include "formats/ogg/oggFormat.h"

#include "formats/createReaderOf.h"
#include "formats/ogg/oggFileReader.h"

FormatEntry oggFormat()
{
    FormatEntry entry;
    entry.extensions = QStringLiteral("ogg");
    entry.canRead = [](const QString& path) {
        return path.endsWith(QLatin1String(".ogg"), Qt::CaseInsensitive) ||
               path == QLatin1String("AUDIO::ogg");
    };
    entry.createReader = &createReaderOf<oggFileReader>;
    return entry;
}
