#include "cli/batch/BatchOptions.h"

#include "host/WorkerSettings.h"

#include <QCommandLineParser>

#include <algorithm>
#include <cmath>
#include <thread>

namespace tunesift::cli {
namespace {

// More than any machine has use for; every worker costs two descriptors.
constexpr int kMostJobs = 256;

// Below it a worker has no room for the libraries that it starts with.
constexpr qint64 kLeastMemory = qint64{64} << 20;

constexpr double kLongestTimeout = 7.0 * 24 * 60 * 60;  // seconds

QString name(const char* option) { return QLatin1String(option); }

int defaultJobs() { return std::max(1, static_cast<int>(std::thread::hardware_concurrency())); }

/// Bytes: a whole number, with K, M or G behind it for powers of 1024.
std::optional<qint64> bytesOf(QString text)
{
    static const QString units = QStringLiteral("KMG");
    const int unit = text.isEmpty() ? -1 : units.indexOf(text.back().toUpper());
    if (unit >= 0)
        text.chop(1);
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    constexpr qint64 kMost = qint64{1} << 50;
    const qint64 factor = unit >= 0 ? qint64{1} << (10 * (unit + 1)) : 1;
    if (!isNumber || number < 0 || number > kMost / factor)
        return {};
    return number * factor;
}

QString wants(const char* option, const QString& what, const QString& value)
{
    return QStringLiteral("--%1 wants %2, not '%3'.").arg(QLatin1String(option), what, value);
}

QString problemOf(const BatchOptions& options, bool json)
{
    if (options.csv && json)
        return QStringLiteral("--csv and --json exclude each other.");
    if ((options.resume || options.retryFailed) && options.output.isEmpty())
        return QStringLiteral("--resume and --retry-failed want an --output file to go on from.");
    if ((options.resume || options.retryFailed) && options.csv)
        return QStringLiteral("--resume and --retry-failed read JSON rows, not --csv.");
    return {};
}

}  // namespace

void addTrackOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        {name("files-from"), name("Takes the tracks that FILE names, one a line; '-' is standard input."),
         name("FILE")},
        {{name("0"), name("null")}, name("The names in FILE end with NUL characters instead of lines.")},
        {{name("j"), name("jobs")},
         name("Analyses N tracks at once; as many as there are cores by default."),
         name("N"),
         QString::number(defaultJobs())},
        {name("timeout"),
         name("Gives a track up after so many seconds; by default after two minutes and its own length."),
         name("SECONDS")},
        {name("memory"),
         name(
             "Lets a worker hold so many bytes (K, M, G for more of them; 0 for any number); 1G by default."),
         name("BYTES")},
    });
}

void addBatchOptions(QCommandLineParser& parser)
{
    addTrackOptions(parser);
    parser.addOptions({
        {name("csv"), name("Prints comma-separated values under a line of names.")},
        {{name("o"), name("output")},
         name("Appends the results to FILE, as JSON unless told otherwise."),
         name("FILE")},
        {name("resume"), name("Leaves out what FILE has results for that still hold.")},
        {name("retry-failed"), name("Analyses what has failed according to FILE.")},
        {name("shard"), name("Takes the I-th of N equal shares of the tracks."), name("I/N")},
    });
}

std::variant<TrackOptions, QString> readTrackOptions(const QCommandLineParser& parser)
{
    TrackOptions options;
    options.lists = parser.values(name("files-from"));
    options.listsAreNulSeparated = parser.isSet(name("null"));
    bool isNumber = false;
    options.jobs = parser.value(name("jobs")).toInt(&isNumber);
    if (!isNumber || options.jobs < 1 || options.jobs > kMostJobs)
        return wants("jobs", QStringLiteral("a whole number from 1 to %1").arg(kMostJobs),
                     parser.value(name("jobs")));

    if (parser.isSet(name("timeout"))) {
        const double seconds = parser.value(name("timeout")).toDouble(&isNumber);
        if (!isNumber || !(seconds > 0.0) || seconds > kLongestTimeout)
            return wants("timeout", QStringLiteral("a number of seconds"), parser.value(name("timeout")));
        options.timeout = std::chrono::milliseconds(std::max(1LL, std::llround(seconds * 1000.0)));
    }

    options.memory = host::kMemoryLimit;
    if (parser.isSet(name("memory"))) {
        const auto bytes = bytesOf(parser.value(name("memory")));
        if (!bytes || (*bytes != 0 && *bytes < kLeastMemory))
            return wants("memory", QStringLiteral("0 or at least 64M"), parser.value(name("memory")));
        options.memory = *bytes;
    }
    return options;
}

std::variant<BatchOptions, QString> readBatchOptions(const QCommandLineParser& parser)
{
    const auto tracks = readTrackOptions(parser);
    if (const auto* problem = std::get_if<QString>(&tracks))
        return *problem;
    BatchOptions options;
    static_cast<TrackOptions&>(options) = std::get<TrackOptions>(tracks);
    options.csv = parser.isSet(name("csv"));
    options.output = parser.value(name("output"));
    options.resume = parser.isSet(name("resume"));
    options.retryFailed = parser.isSet(name("retry-failed"));
    if (parser.isSet(name("shard"))) {
        options.shard = Shard::parse(parser.value(name("shard")));
        if (!options.shard)
            return wants("shard", QStringLiteral("I/N with I from 1 to N"), parser.value(name("shard")));
    }
    if (const QString problem = problemOf(options, parser.isSet(name("json"))); !problem.isEmpty())
        return problem;
    return options;
}

}  // namespace tunesift::cli
