#include "cli/rows/jsonReport.h"

#include "cli/decibels.h"
#include "cli/rows/JsonLine.h"
#include "cli/rows/pathText.h"
#include "host/keyName.h"

namespace tunesift::cli {
namespace {

void addPath(JsonLine& line, const QByteArray& path)
{
    line.add("path", readablePath(path));
    if (!isReadable(path))
        line.add("pathBytes", QString::fromLatin1(path.toBase64()));
}

void addError(JsonLine& line, const std::optional<Failure>& failure)
{
    line.add("status", failure ? QStringLiteral("failed") : QStringLiteral("ok"));
    std::optional<JsonLine> error;
    if (failure) {
        error.emplace();
        error->add("kind", failure->kind);
        error->add("text", failure->text);
    }
    line.add("error", error);
}

std::optional<QString> keyForm(const host::TrackResult& result, QString host::KeyName::*form)
{
    if (!result.key)
        return std::nullopt;
    return host::keyName(*result.key).*form;
}

void addResults(JsonLine& line, const host::TrackResult& result)
{
    line.add("sampleRate", result.sampleRate);
    line.add("frames", result.frames);
    line.add("seconds", result.seconds);
    line.add("decodedFrames", result.decodedFrames);
    line.add("tempo", result.tempo);
    line.add("firstDownbeat", result.firstDownbeat);
    line.add("firstDownbeatFrames", result.firstDownbeatFrames);
    line.add("beats", result.beats);
    line.add("key", keyForm(result, &host::KeyName::musical));
    line.add("keyNumberForm", keyForm(result, &host::KeyName::numberForm));
    line.add("keyLetterForm", keyForm(result, &host::KeyName::letterForm));
    line.add("keyNumber", result.key);
    line.add("loudness", result.loudness);
    // The logarithm of silence is no number, and so becomes null.
    line.add("loudnessDb", result.loudness ? std::optional(decibels(*result.loudness)) : std::nullopt);
}

/// What tells whether the row still holds.
void addOrigin(JsonLine& line, const TrackOutcome& outcome)
{
    line.add("size", outcome.stamp ? std::optional(outcome.stamp->size) : std::nullopt);
    // As text: more digits than most readers of JSON keep of a number.
    line.add("modified",
             outcome.stamp ? std::optional(QString::number(outcome.stamp->modified)) : std::nullopt);
    line.add("options", outcome.options);
    line.add("analyzer", analyzerVersion());
    line.add("shard", outcome.shard ? std::optional(outcome.shard->text()) : std::nullopt);
}

}  // namespace

QByteArray jsonReport(const TrackOutcome& outcome)
{
    JsonLine line;
    line.add("schema", kRowSchema);
    addPath(line, outcome.path);
    addError(line, outcome.failure);
    addResults(line, outcome.result);
    addOrigin(line, outcome);
    line.add("wallSeconds", outcome.result.wallSeconds);
    line.add("cpuSeconds", outcome.result.cpuSeconds);
    return line.object() + '\n';
}

}  // namespace tunesift::cli
