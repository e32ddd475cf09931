#include "cli/rows/csvReport.h"

#include "cli/decibels.h"
#include "cli/rows/pathText.h"
#include "host/keyName.h"

#include <QList>
#include <QLocale>

#include <cmath>

namespace tunesift::cli {
namespace {

QByteArray field(const QString& text)
{
    QByteArray bytes = text.toUtf8();
    const bool isPlain =
        !bytes.contains(',') && !bytes.contains('"') && !bytes.contains('\n') && !bytes.contains('\r');
    return isPlain ? bytes : '"' + bytes.replace("\"", "\"\"") + '"';
}

QByteArray field(const std::optional<double>& number)
{
    if (!number || !std::isfinite(*number))
        return {};
    return QByteArray::number(*number, 'g', QLocale::FloatingPointShortest);
}

QByteArray field(const std::optional<qint64>& number)
{
    return number ? QByteArray::number(*number) : QByteArray();
}

}  // namespace

QByteArray csvHeader()
{
    return "path,status,errorKind,errorText,seconds,sampleRate,frames,tempo,firstDownbeat,beats,key,"
           "keyNumberForm,"
           "keyLetterForm,loudness,loudnessDb\r\n";
}

QByteArray csvReport(const TrackOutcome& outcome)
{
    const host::TrackResult& result = outcome.result;
    const host::KeyName key = result.key ? host::keyName(*result.key) : host::KeyName{};
    const Failure failure = outcome.failure.value_or(Failure{});
    const QList<QByteArray> fields{
        field(readablePath(outcome.path)),
        outcome.failure ? "failed" : "ok",
        field(failure.kind),
        field(failure.text),
        field(result.seconds),
        field(result.sampleRate),
        field(result.frames),
        field(result.tempo),
        field(result.firstDownbeat),
        field(result.beats),
        field(key.musical),
        field(key.numberForm),
        field(key.letterForm),
        field(result.loudness),
        field(result.loudness ? std::optional(decibels(*result.loudness)) : std::nullopt),
    };
    return fields.join(',') + "\r\n";
}

}  // namespace tunesift::cli
