#include "cli/picture/plotVerb.h"

#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/picture/TrackArgument.h"
#include "cli/picture/TrackPicture.h"
#include "cli/programPath.h"
#include "cli/rows/pathText.h"

#include <QBuffer>
#include <QCommandLineParser>
#include <QFileInfo>

#include <cmath>
#include <variant>

namespace tunesift::cli {
namespace {

constexpr int kLeastWidth = 200;
constexpr int kLeastHeight = 100;
constexpr int kMost = 20000;  // pixels either way; a picture of that size takes 1.6 GB

int badUsage(const QString& problem)
{
    complain(QStringLiteral("tunesift: %1 Try 'tunesift plot --help'.\n").arg(problem));
    return kBadUsage;
}

/// Seconds from "83.5" or "1:23.5".
std::optional<double> secondsOf(const QString& text)
{
    double seconds = 0.0;
    for (const QString& part : text.split(QLatin1Char(':'))) {
        constexpr double kSixty = 60.0;
        bool isNumber = false;
        const double number = part.toDouble(&isNumber);
        if (!isNumber || !(number >= 0.0) || !std::isfinite(number))
            return {};
        seconds = seconds * kSixty + number;
    }
    return seconds;
}

/// The names of the options, once.
struct Names {
    QString output = QStringLiteral("output");
    QString from = QStringLiteral("from");
    QString to = QStringLiteral("to");
    QString width = QStringLiteral("width");
    QString height = QStringLiteral("height");
};

std::variant<PictureSettings, QString> settingsOf(const QCommandLineParser& parser)
{
    const Names names;
    PictureSettings settings;
    const auto pixels = [&](const QString& name, int least, int& value) {
        bool isNumber = true;
        if (parser.isSet(name))
            value = parser.value(name).toInt(&isNumber);
        return isNumber && value >= least && value <= kMost;
    };
    if (!pixels(names.width, kLeastWidth, settings.width) ||
        !pixels(names.height, kLeastHeight, settings.height))
        return QStringLiteral("--width wants %1 and --height %2 to %3 pixels.")
            .arg(kLeastWidth)
            .arg(kLeastHeight)
            .arg(kMost);
    for (const auto& [name, value] :
         {std::pair{names.from, &settings.from}, std::pair{names.to, &settings.to}}) {
        if (!parser.isSet(name))
            continue;
        *value = secondsOf(parser.value(name));
        if (!*value)
            return QStringLiteral("--%1 wants seconds, or minutes:seconds, not '%2'.")
                .arg(name, parser.value(name));
    }
    if (settings.to && settings.from.value_or(0.0) >= *settings.to)
        return QStringLiteral("--from wants to be before --to.");
    return settings;
}

QByteArray png(const Scene& scene)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    paint(scene).save(&buffer, "PNG");
    return buffer.data();
}

int plot(const TrackArgument& track, PictureSettings settings, const QString& file, const QString& worker)
{
    const auto waves = wavesFor(track, worker);
    if (!waves)
        return kSomeFailed;
    if (settings.from.value_or(0.0) >= *waves->result.seconds) {
        complain(QStringLiteral("tunesift: the track ends before --from.\n"));
        return kSomeFailed;
    }
    if (settings.to)
        settings.to = std::min(*settings.to, *waves->result.seconds);
    settings.title = QFileInfo(readablePath(track.path)).completeBaseName();
    const Scene scene = trackPicture(*waves, settings);
    return writeFile(file, file.endsWith(QLatin1String(".svg")) ? svg(scene) : png(scene)) ? kAllWell
                                                                                           : kSomeFailed;
}

}  // namespace

int plotVerb(const QStringList& arguments)
{
    const Names names;
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption worker(QStringLiteral("worker"), QStringLiteral("Runs the worker at PATH."),
                                    QStringLiteral("PATH"), workerPath());
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("\nDraws a track: its wave in three bands (low, middle, "
                                                    "high), beats and bars, tempo, key and time."));
    parser.addOptions({
        help,
        {{QStringLiteral("o"), names.output},
         QStringLiteral("Writes to FILE, which ends in .png or .svg."),
         QStringLiteral("FILE")},
        {names.from, QStringLiteral("Begins here (seconds, or minutes:seconds)."), QStringLiteral("TIME")},
        {names.to, QStringLiteral("Ends here."), QStringLiteral("TIME")},
        {names.width, QStringLiteral("Pixels; 1600 by default."), QStringLiteral("N")},
        {names.height, QStringLiteral("Pixels; 400 by default."), QStringLiteral("N")},
        worker,
    });
    parser.addPositionalArgument(QStringLiteral("TRACK"),
                                 QStringLiteral("An audio file, or a row of its results."));
    if (!parser.parse(arguments))
        return badUsage(parser.errorText());
    if (parser.isSet(help)) {
        print(QStringLiteral("Usage: tunesift plot [options] TRACK -o FILE\n") +
              parser.helpText().section(QLatin1Char('\n'), 1));
        return kAllWell;
    }
    const QString file = parser.value(names.output);
    if (parser.positionalArguments().size() != 1)
        return badUsage(QStringLiteral("plot wants one track."));
    if (!file.endsWith(QLatin1String(".png")) && !file.endsWith(QLatin1String(".svg")))
        return badUsage(QStringLiteral("--output wants a file that ends in .png or .svg."));
    const auto settings = settingsOf(parser);
    if (const auto* problem = std::get_if<QString>(&settings))
        return badUsage(*problem);
    const auto track = TrackArgument::parse(parser.positionalArguments().constFirst());
    if (!track)
        return badUsage(QStringLiteral("what begins with '{' is no row."));
    return plot(*track, std::get<PictureSettings>(settings), file, parser.value(worker));
}

}  // namespace tunesift::cli
