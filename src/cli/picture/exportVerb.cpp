#include "cli/picture/exportVerb.h"

#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/picture/TrackArgument.h"
#include "cli/picture/waveformFile.h"
#include "cli/programPath.h"

#include <QCommandLineParser>

namespace tunesift::cli {
namespace {

int badUsage(const QString& problem)
{
    complain(QStringLiteral("tunesift: %1 Try 'tunesift export --help'.\n").arg(problem));
    return kBadUsage;
}

}  // namespace

int exportVerb(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption waveform(
        QStringLiteral("waveform"),
        QStringLiteral("Writes the high-resolution wave to FILE, which ends in .json or .dat."),
        QStringLiteral("FILE"));
    const QCommandLineOption worker(QStringLiteral("worker"), QStringLiteral("Runs the worker at PATH."),
                                    QStringLiteral("PATH"), workerPath());
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("\nAnalyses a track and writes its wave for other programs."));
    parser.addOptions({help, waveform, worker});
    parser.addPositionalArgument(QStringLiteral("TRACK"),
                                 QStringLiteral("An audio file, or a row of its results."));
    if (!parser.parse(arguments))
        return badUsage(parser.errorText());
    if (parser.isSet(help)) {
        print(QStringLiteral("Usage: tunesift export TRACK --waveform FILE\n") +
              parser.helpText().section(QLatin1Char('\n'), 1));
        return kAllWell;
    }
    const QString file = parser.value(waveform);
    const bool isJson = file.endsWith(QLatin1String(".json"));
    if (parser.positionalArguments().size() != 1)
        return badUsage(QStringLiteral("export wants one track."));
    if (!isJson && !file.endsWith(QLatin1String(".dat")))
        return badUsage(QStringLiteral("--waveform wants a file that ends in .json or .dat."));
    const auto track = TrackArgument::parse(parser.positionalArguments().constFirst());
    if (!track)
        return badUsage(QStringLiteral("what begins with '{' is no row."));

    const auto waves = wavesFor(*track, parser.value(worker));
    if (!waves)
        return kSomeFailed;
    return writeFile(file, isJson ? waveformJson(*waves) : waveformData(*waves)) ? kAllWell : kSomeFailed;
}

}  // namespace tunesift::cli
