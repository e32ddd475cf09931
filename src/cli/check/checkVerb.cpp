#include "cli/check/checkVerb.h"

#include "cli/InterruptWatch.h"
#include "cli/batch/BatchProgress.h"
#include "cli/batch/WorkerPaths.h"
#include "cli/batch/gatherTracks.h"
#include "cli/check/CheckPool.h"
#include "cli/check/CheckReport.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/programPath.h"
#include "cli/rows/fileFacts.h"
#include "cli/rows/pathText.h"

#include <QCommandLineParser>
#include <QEventLoop>

#include <map>
#include <optional>
#include <utility>

namespace tunesift::cli {
namespace {

/// Decoding alone is ten times as fast as an analysis; an hour is more than any file needs.
constexpr std::chrono::milliseconds kTimeout{60LL * 60 * 1000};

/// One run of the verb, on the main thread.
class Check {
public:
    Check(const TrackOptions& options, bool json)
        : json_(json), pool_({probePath(), options.jobs,
                              options.timeout.count() > 0 ? options.timeout : kTimeout, options.memory})
    {}

    int run(std::vector<ListedTrack> tracks)
    {
        tracks_ = std::move(tracks);
        count_.total = static_cast<qint64>(tracks_.size());
        const InterruptWatch interrupts;
        QObject::connect(&interrupts, &InterruptWatch::interrupted, &loop_, [this] {
            complain(QStringLiteral("tunesift: interrupted\n"));
            end(kInterruptedBase + InterruptWatch::signalNumber());
        });
        QObject::connect(&pool_, &CheckPool::probed, &loop_,
                         [this](qint64 number, const ProbeOutcome& outcome) { onProbed(number, outcome); });
        QObject::connect(&pool_, &CheckPool::allFinished, &loop_, &QEventLoop::quit);
        pool_.start([this] { return next(); });
        loop_.exec();
        progress_.clear();
        if (count_.total > 1 && !status_)
            complain(QStringLiteral("tunesift: %1 files: %2 without faults, %3 with faults\n")
                         .arg(count_.total)
                         .arg(count_.done - count_.failed)
                         .arg(count_.failed));
        return status_.value_or(count_.failed > 0 ? kSomeFailed : kAllWell);
    }

private:
    std::optional<ProbeTask> next()
    {
        while (!status_ && nextPlace_ < count_.total) {
            const qint64 place = nextPlace_++;
            const ListedTrack& track = tracks_[static_cast<std::size_t>(place)];
            auto problem = track.failure ? track.failure : fileFacts(track.path).problem;
            if (isOnAnotherDevice(track.path))
                problem = Failure{kUnreachable, QStringLiteral("only files of this machine can be checked")};
            const auto name = problem ? std::nullopt : names_.nameFor(place, track.path);
            if (!problem && !name)
                problem = Failure{kUnsupported, QStringLiteral("its name is not UTF-8")};
            if (!problem)
                return ProbeTask{place, *name};
            CheckReport report;
            report.path = track.path;
            report.findings.push_back({problem->kind, problem->text});
            print(place, std::move(report));
        }
        return {};
    }

    void onProbed(qint64 place, const ProbeOutcome& outcome)
    {
        names_.done(place);
        if (outcome.end == ProbeOutcome::End::kCannotStart) {
            complain(QStringLiteral("tunesift: cannot run %1: %2\n")
                         .arg(probePath(), QString::fromUtf8(outcome.output)));
            end(kNothingDone);
            return;
        }
        CheckReport report;
        report.path = tracks_[static_cast<std::size_t>(place)].path;
        report.take(outcome);
        print(place, std::move(report));
    }

    /// In the order of the tracks.
    void print(qint64 place, CheckReport report)
    {
        ++count_.done;
        count_.failed += report.isFaulty() ? 1 : 0;
        waiting_.emplace(place, std::move(report));
        progress_.clear();
        while (!waiting_.empty() && waiting_.begin()->first == nextPrinted_) {
            const CheckReport& first = waiting_.begin()->second;
            printBytes(json_ ? first.json() : first.text().toUtf8());
            waiting_.erase(waiting_.begin());
            ++nextPrinted_;
        }
        progress_.show(count_);
        if (!outputIsGood())
            end(kSomeFailed);
    }

    void end(int status)
    {
        if (status_)
            return;
        status_ = status;
        // Not from within the pool's own signals.
        QMetaObject::invokeMethod(
            &loop_,
            [this] {
                pool_.abort();
                loop_.quit();
            },
            Qt::QueuedConnection);
    }

    const bool json_;
    CheckPool pool_;
    WorkerPaths names_;
    std::vector<ListedTrack> tracks_;
    qint64 nextPlace_ = 0;
    qint64 nextPrinted_ = 0;
    std::map<qint64, CheckReport> waiting_;
    BatchCount count_;
    BatchProgress progress_;
    QEventLoop loop_;
    std::optional<int> status_;
};

int badUsage(const QString& problem)
{
    complain(QStringLiteral("tunesift: %1 Try 'tunesift check --help'.\n").arg(problem));
    return kBadUsage;
}

}  // namespace

int checkVerb(const QStringList& arguments)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Prints one JSON object per file and line."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("\nDecodes files from end to end and says what is wrong with them: cut short, "
                       "complaints of the decoder, "
                       "clipping. Exits with 1 if any is faulty; clipping is no fault."));
    parser.addOptions({help, json});
    addTrackOptions(parser);
    parser.addPositionalArgument(QStringLiteral("PATH"), QStringLiteral("Audio files, and folders of them."));
    if (!parser.parse(arguments))
        return badUsage(parser.errorText());
    if (parser.isSet(help)) {
        print(QStringLiteral("Usage: tunesift check [options] PATH...\n") +
              parser.helpText().section(QLatin1Char('\n'), 1));
        return kAllWell;
    }
    const auto options = readTrackOptions(parser);
    if (const auto* problem = std::get_if<QString>(&options))
        return badUsage(*problem);
    const auto& trackOptions = std::get<TrackOptions>(options);
    if (parser.positionalArguments().isEmpty() && trackOptions.lists.isEmpty())
        return badUsage(QStringLiteral("no file to check."));
    auto list = gatherTracks(parser.positionalArguments(), trackOptions);
    if (!list || list->tracks().empty())
        return kNothingDone;
    return Check(trackOptions, parser.isSet(json)).run(std::move(list->tracks()));
}

}  // namespace tunesift::cli
