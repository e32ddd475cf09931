#include "cli/AnalyzeOptions.h"

#include "cli/programPath.h"

#include <QCommandLineParser>

namespace tunesift::cli {
namespace {

// Below 3 a worker falls back to its default; above 300 it would seek tempos that no music has.
constexpr int kLowestMinimumBpm = 3;
constexpr int kHighestMinimumBpm = 300;

constexpr int kMostWaitSeconds = 1'000'000;  // eleven days; in milliseconds it still is an int

QString helpOf(const QCommandLineParser& parser)
{
    // The parser's own first line knows nothing of verbs.
    return QStringLiteral("Usage: tunesift analyze [options] [PATH...]\n") +
           parser.helpText().section(QLatin1Char('\n'), 1);
}

}  // namespace

QString optionsText(const host::Preferences& preferences)
{
    return QStringLiteral("min-bpm=%1 key=%2")
        .arg(preferences.minimumBpm)
        .arg(preferences.detectKey ? QStringLiteral("yes") : QStringLiteral("no"));
}

std::variant<AnalyzeOptions, HelpWanted, UsageError> parseAnalyzeOptions(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints one JSON object per track and line."));
    const QCommandLineOption minimumBpm(QStringLiteral("min-bpm"),
                                        QStringLiteral("Seeks the tempo from N to twice N beats per minute."),
                                        QStringLiteral("N"));
    const QCommandLineOption noKey(QStringLiteral("no-key"), QStringLiteral("Does not look for the key."));
    const QCommandLineOption worker(
        QStringLiteral("worker"),
        QStringLiteral("Runs the worker at PATH instead of the tunesift-worker beside tunesift."),
        QStringLiteral("PATH"), workerPath());

    const QCommandLineOption wait(
        QStringLiteral("wait"),
        QStringLiteral(
            "Gives up on a track of another device (net://...) when that is not found, or does not "
            "answer, for so long; after 60 seconds otherwise."),
        QStringLiteral("SECONDS"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "\nFinds tempo, beats, key and loudness of tracks, and of all tracks in folders. Without a "
        "track, of a demo."));
    parser.addOptions({help, json, minimumBpm, noKey, wait, worker});
    addBatchOptions(parser);
    parser.addPositionalArgument(QStringLiteral("PATH"), QStringLiteral("Audio files, and folders of them."));

    if (!parser.parse(arguments))
        return UsageError{parser.errorText()};
    if (parser.isSet(help))
        return HelpWanted{helpOf(parser)};

    AnalyzeOptions options;
    options.tracks = parser.positionalArguments();
    options.json = parser.isSet(json);
    options.worker = parser.value(worker);
    options.preferences.detectKey = !parser.isSet(noKey);
    if (parser.isSet(minimumBpm)) {
        bool isNumber = false;
        const int value = parser.value(minimumBpm).toInt(&isNumber);
        if (!isNumber || value < kLowestMinimumBpm || value > kHighestMinimumBpm)
            return UsageError{QStringLiteral("--min-bpm wants a whole number from %1 to %2, not '%3'.")
                                  .arg(kLowestMinimumBpm)
                                  .arg(kHighestMinimumBpm)
                                  .arg(parser.value(minimumBpm))};
        options.preferences.minimumBpm = value;
    }
    if (parser.isSet(wait)) {
        bool isNumber = false;
        const int value = parser.value(wait).toInt(&isNumber);
        if (!isNumber || value < 1 || value > kMostWaitSeconds)
            return UsageError{QStringLiteral("--wait wants a whole number from 1 to %1, not '%2'.")
                                  .arg(kMostWaitSeconds)
                                  .arg(parser.value(wait))};
        options.wait = std::chrono::seconds(value);
    }
    auto batch = readBatchOptions(parser);
    if (const auto* problem = std::get_if<QString>(&batch))
        return UsageError{*problem};
    options.batch = std::get<BatchOptions>(std::move(batch));
    return options;
}

}  // namespace tunesift::cli
