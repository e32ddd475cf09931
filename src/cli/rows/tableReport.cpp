#include "cli/rows/tableReport.h"

#include "cli/decibels.h"
#include "cli/duration.h"
#include "cli/rows/pathText.h"
#include "host/keyName.h"

namespace tunesift::cli {
namespace {

// The path comes last, so that however long it is the columns stand.
QString row(const QString& length, const QString& tempo, const QString& key, const QString& loudness,
            const QString& downbeat, const QString& path)
{
    return QStringLiteral("%1  %2  %3  %4  %5  ")
               .arg(length, 9)
               .arg(tempo, 7)
               .arg(key, -14)
               .arg(loudness, 9)
               .arg(downbeat, 9) +
           path + QLatin1Char('\n');
}

QString fixed(const std::optional<double>& value, int decimals, const char* unit)
{
    return value ? QString::number(*value, 'f', decimals) + QLatin1String(unit) : QStringLiteral("-");
}

QString onOneLine(QString path)
{
    for (QChar& character : path) {
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char('?');
    }
    return path;
}

}  // namespace

QString tableHeader()
{
    return row(QStringLiteral("length"), QStringLiteral("BPM"), QStringLiteral("key"),
               QStringLiteral("loudness"), QStringLiteral("downbeat"), QStringLiteral("track"));
}

QString tableReport(const TrackOutcome& outcome)
{
    const host::TrackResult& result = outcome.result;
    QString key = QStringLiteral("-");
    if (result.key) {
        const host::KeyName name = host::keyName(*result.key);
        key = QStringLiteral("%1 (%2)").arg(name.musical, name.letterForm);
    }
    return row(result.seconds ? duration(*result.seconds) : QStringLiteral("-"), fixed(result.tempo, 2, ""),
               key,
               fixed(result.loudness ? std::optional(decibels(*result.loudness)) : std::nullopt, 1, " dB"),
               fixed(result.firstDownbeat, 3, " s"), onOneLine(readablePath(outcome.path)));
}

}  // namespace tunesift::cli
