#include "cli/check/CheckReport.h"

#include "cli/decibels.h"
#include "cli/rows/JsonLine.h"
#include "cli/rows/jsonReport.h"
#include "cli/rows/pathText.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace tunesift::cli {
bool CheckReport::isFaulty() const
{
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.isFault; });
}

void CheckReport::take(const ProbeOutcome& outcome)
{
    using End = ProbeOutcome::End;
    switch (outcome.end) {
    case End::kWell:
        takeOutput(outcome.output);
        break;
    case End::kTimedOut:
        findings.push_back({kTimeout, QStringLiteral("decoding took longer than it may")});
        break;
    case End::kWantedMemory:
        findings.push_back({kOutOfMemory, QStringLiteral("decoding needed more memory than it may have")});
        break;
    case End::kCannotStart:
    case End::kDied:
        findings.push_back({kCrashed, QStringLiteral("the decoder crashed")});
        break;
    }
}

void CheckReport::takeOutput(const QByteArray& output)
{
    const QJsonObject object = QJsonDocument::fromJson(output).object();
    const auto number = [&](const char* name) {
        return static_cast<qint64>(object[QLatin1String(name)].toDouble());
    };
    wasDecoded = object[QLatin1String("opened")].toBool();
    sampleRate = number("sampleRate");
    channels = number("channels");
    statedFrames = number("statedFrames");
    decodedFrames = number("decodedFrames");
    peak = object[QLatin1String("peak")].toDouble();
    clippedPlaces = number("clippedPlaces");
    judge(object);
}

void CheckReport::judge(const QJsonObject& probed)
{
    if (!wasDecoded)
        findings.push_back(
            hasKnownExtension(path)
                ? Finding{kNotAudio, QStringLiteral("its decoder cannot open it")}
                : Finding{kUnsupported, QStringLiteral("its name is not that of a format that is read")});
    judgeLength(probed);
    if (probed[QLatin1String("digestDiffers")].toBool())
        findings.push_back({QStringLiteral("digest"),
                            QStringLiteral("its sound is not that of which it carries the MD5 sum")});
    if (wasDecoded) {
        const QString complaints = probed[QLatin1String("complaints")].toString();
        for (const QString& complaint : complaints.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            findings.push_back({QStringLiteral("decoder"), QStringLiteral("the decoder says: ") + complaint});
    }
    const double peakDecibels = std::round(decibels(peak) * 10.0) / 10.0 + 0.0;  // never "-0.0"
    if (clippedPlaces > 0)
        findings.push_back({QStringLiteral("clipping"),
                            QStringLiteral("clipping in %1 places, peak %2 dBFS")
                                .arg(clippedPlaces)
                                .arg(peakDecibels, 0, 'f', 1),
                            false});
}

void CheckReport::judgeLength(const QJsonObject& probed)
{
    const auto announcedBytes = static_cast<qint64>(probed[QLatin1String("announcedBytes")].toDouble());
    const auto bytes = static_cast<qint64>(probed[QLatin1String("bytes")].toDouble());
    if (announcedBytes > bytes)
        findings.push_back({kTruncated, QStringLiteral("cut short: its header announces %1 bytes, it has %2")
                                            .arg(announcedBytes)
                                            .arg(bytes)});
    if (probed[QLatin1String("hasFailed")].toBool())
        findings.push_back({kUnreadable, QStringLiteral("it could not be read to its end")});
    if (!wasDecoded)
        return;
    const auto seconds = [this](qint64 frames) {
        return QString::number(static_cast<double>(frames) / static_cast<double>(sampleRate), 'f', 3);
    };
    const auto compared = [&](const QString& text) {
        return text.arg(seconds(decodedFrames), seconds(statedFrames)).arg(decodedFrames).arg(statedFrames);
    };
    if (probed[QLatin1String("endsEarly")].toBool())
        findings.push_back(
            {kTruncated, compared(QStringLiteral("cut short: %1 of %2 s can be decoded (%3 of %4 frames)"))});
    if (probed[QLatin1String("endsLate")].toBool())
        findings.push_back(
            {QStringLiteral("surplus"),
             compared(QStringLiteral("plays longer than it states: %1 instead of %2 s (%3 instead "
                                     "of %4 frames)")),
             false});
}

QString CheckReport::text() const
{
    const QString name = readablePath(path);
    if (findings.empty())
        return name + QStringLiteral(": fine\n");
    QString lines;
    for (const Finding& finding : findings)
        lines += name + QStringLiteral(": ") + finding.text + QLatin1Char('\n');
    return lines;
}

QByteArray CheckReport::json() const
{
    JsonLine line;
    line.add("schema", kRowSchema);
    line.add("path", readablePath(path));
    if (!isReadable(path))
        line.add("pathBytes", QString::fromLatin1(path.toBase64()));
    line.add("status", isFaulty() ? QStringLiteral("failed") : QStringLiteral("ok"));
    std::vector<JsonLine> told;
    for (const Finding& finding : findings) {
        JsonLine& object = told.emplace_back();
        object.add("kind", finding.kind);
        object.add("text", finding.text);
        object.addTruth("fault", finding.isFault);
    }
    line.add("findings", told);
    const auto ifDecoded = [this](auto value) { return wasDecoded ? std::optional(value) : std::nullopt; };
    line.add("sampleRate", ifDecoded(sampleRate));
    line.add("channels", ifDecoded(channels));
    line.add("statedFrames", ifDecoded(statedFrames));
    line.add("decodedFrames", ifDecoded(decodedFrames));
    line.add("peak", ifDecoded(peak));
    line.add("clippedPlaces", ifDecoded(clippedPlaces));
    return line.object() + '\n';
}

}  // namespace tunesift::cli
