#include "cli/jsonReport.h"

#include "cli/decibels.h"
#include "host/keyName.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tunesift::cli {
namespace {

template <typename T>
QJsonValue orNull(const std::optional<T>& value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

std::optional<QString> keyForm(const host::TrackResult& result, QString host::KeyName::*form)
{
    if (!result.key)
        return std::nullopt;
    return host::keyName(*result.key).*form;
}

QJsonValue errorValue(const std::optional<Failure>& failure)
{
    if (!failure)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("kind"), failure->kind}, {QStringLiteral("text"), failure->text}};
}

}  // namespace

QString jsonReport(const TrackOutcome& outcome)
{
    const host::TrackResult& result = outcome.result;
    const QJsonObject object{
        {QStringLiteral("path"), result.path},
        {QStringLiteral("status"), outcome.failure ? QStringLiteral("failed") : QStringLiteral("ok")},
        {QStringLiteral("error"), errorValue(outcome.failure)},
        {QStringLiteral("sampleRate"), orNull(result.sampleRate)},
        {QStringLiteral("frames"), orNull(result.frames)},
        {QStringLiteral("seconds"), orNull(result.seconds)},
        {QStringLiteral("tempo"), orNull(result.tempo)},
        {QStringLiteral("firstDownbeat"), orNull(result.firstDownbeat)},
        {QStringLiteral("beats"), orNull(result.beats)},
        {QStringLiteral("loudness"), orNull(result.loudness)},
        // The logarithm of silence is no number, which JSON writes as null.
        {QStringLiteral("loudnessDb"), result.loudness ? decibels(*result.loudness) : QJsonValue()},
        {QStringLiteral("key"), orNull(keyForm(result, &host::KeyName::musical))},
        {QStringLiteral("keyNumberForm"), orNull(keyForm(result, &host::KeyName::numberForm))},
        {QStringLiteral("keyLetterForm"), orNull(keyForm(result, &host::KeyName::letterForm))},
        {QStringLiteral("keyNumber"), orNull(result.key)},
        {QStringLiteral("wallSeconds"), result.wallSeconds},
        {QStringLiteral("cpuSeconds"), orNull(result.cpuSeconds)},
    };
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n');
}

}  // namespace tunesift::cli
