#include "cli/picture/TrackArgument.h"

#include "cli/output.h"
#include "cli/rows/Row.h"
#include "cli/rows/pathText.h"

#include <QRegularExpression>
#include <QSaveFile>

namespace tunesift::cli {

std::optional<TrackArgument> TrackArgument::parse(const QString& text)
{
    TrackArgument argument;
    if (!text.startsWith(QLatin1Char('{'))) {
        argument.path = bytesOfText(text);
        return argument;
    }
    const auto row = Row::parse(text.toUtf8());
    if (!row)
        return {};
    argument.path = row->path;
    static const QRegularExpression options(QStringLiteral("^min-bpm=(\\d+) key=(yes|no)$"));
    if (const auto match = options.match(row->options); match.hasMatch()) {
        argument.preferences.minimumBpm = match.captured(1).toInt();
        argument.preferences.detectKey = match.captured(2) == QLatin1String("yes");
    }
    return argument;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true);  // for devices and pipes
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    complain(QStringLiteral("tunesift: cannot write %1: %2\n").arg(path, file.errorString()));
    return false;
}

std::optional<TrackWaves> wavesFor(const TrackArgument& track, const QString& worker)
{
    auto waves = analyzeWaves(track.path, track.preferences, worker);
    if (const auto* failure = std::get_if<Failure>(&waves)) {
        complain(QStringLiteral("tunesift: %1: ").arg(readablePath(track.path)) + failure->text +
                 QLatin1Char('\n'));
        return {};
    }
    auto& found = std::get<TrackWaves>(waves);
    if (!found.result.frames || !found.result.seconds || *found.result.frames == 0) {
        complain(QStringLiteral("tunesift: %1: the worker did not tell its length\n")
                     .arg(readablePath(track.path)));
        return {};
    }
    return found;
}

}  // namespace tunesift::cli
