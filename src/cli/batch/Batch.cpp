#include "cli/batch/Batch.h"

#include "cli/InterruptWatch.h"
#include "cli/exitStatus.h"
#include "cli/output.h"
#include "cli/rows/fileFacts.h"
#include "cli/rows/pathText.h"

#include <algorithm>
#include <utility>

namespace tunesift::cli {
namespace {

host::WorkerSettings settingsFor(const AnalyzeOptions& options)
{
    host::WorkerSettings settings;
    settings.program = options.worker;
    settings.trackTimeout = options.batch.timeout;
    // Who allows a track more time than usual allows it silence, too.
    settings.silenceTimeout = std::max(settings.silenceTimeout, options.batch.timeout);
    settings.memoryLimit = options.batch.memory;
    return settings;
}

/// A worker that cannot be run at all is no matter of the track.
bool isHopeless(const host::TrackResult& result)
{
    return !result.succeeded() && (result.error->kind == host::ErrorKind::kCannotStart ||
                                   result.error->kind == host::ErrorKind::kCannotListen);
}

}  // namespace

Batch::Batch(const AnalyzeOptions& options, RowPrinter& printer)
    : options_(options), printer_(printer), pool_(settingsFor(options), options.batch.jobs)
{}

int Batch::run(std::vector<ListedTrack> tracks, const BatchSummary& skipped)
{
    tracks_ = std::move(tracks);
    summary_ = skipped;
    summary_.count.total = static_cast<qint64>(tracks_.size());

    const InterruptWatch interrupts;
    QObject::connect(&interrupts, &InterruptWatch::interrupted, &loop_,
                     [this] { end(kInterruptedBase + InterruptWatch::signalNumber()); });
    QObject::connect(&pool_, &host::AnalysisPool::trackFinished, &loop_,
                     [this](qint64 place, const host::TrackResult& result) { onFinished(place, result); });
    QObject::connect(&pool_, &host::AnalysisPool::progressed, &loop_, [this](qint64 /*place*/, double share) {
        if (tracks_.size() == 1)
            bar_.show(share);
        else
            progress_.show(summary_.count);
    });
    QObject::connect(&pool_, &host::AnalysisPool::allFinished, &loop_, &QEventLoop::quit);
    pool_.start([this] { return next(); });
    if (!status_)
        loop_.exec();
    clearProgress();

    if (status_ && *status_ > kInterruptedBase)
        complain(QStringLiteral("tunesift: interrupted\n"));
    summary_.elapsed = progress_.elapsed();
    if (summary_.count.total + summary_.skipped > 1)
        complain(summary_.text());
    const bool anyFailed = summary_.count.failed + summary_.skippedFailed > 0;
    return status_.value_or(anyFailed ? kSomeFailed : kAllWell);
}

std::optional<host::PoolTrack> Batch::next()
{
    while (!status_ && nextPlace_ < summary_.count.total) {
        const qint64 place = nextPlace_++;
        const ListedTrack& track = tracks_[static_cast<std::size_t>(place)];
        TrackOutcome outcome = outcomeFor(place);
        const FileFacts facts = track.failure ? FileFacts{track.failure, {}} : fileFacts(track.path);
        outcome.stamp = facts.stamp;
        outcome.failure = facts.problem;
        std::optional<QString> name;
        if (!outcome.failure) {
            name = workerPaths_.nameFor(place, track.path);
            if (!name)
                outcome.failure =
                    Failure{kUnsupported, QStringLiteral("its name is not UTF-8, and a link to it "
                                                         "could not be made")};
        }
        if (outcome.failure) {
            report(std::move(outcome), place);
            continue;
        }
        running_.emplace(place, facts.stamp);
        if (tracks_.size() == 1)
            bar_.begin(readablePath(track.path));
        return host::PoolTrack{place, requestFor(*name)};
    }
    return {};
}

host::AnalysisRequest Batch::requestFor(const QString& name) const
{
    host::AnalysisRequest request{name, options_.preferences};
    if (options_.wait && host::isNetPath(name))
        request.patience = *options_.wait;
    return request;
}

TrackOutcome Batch::outcomeFor(qint64 place) const
{
    TrackOutcome outcome;
    outcome.path = tracks_[static_cast<std::size_t>(place)].path;
    outcome.result.path = readablePath(outcome.path);
    outcome.options = optionsText(options_.preferences);
    outcome.shard = options_.batch.shard;
    return outcome;
}

void Batch::onFinished(qint64 place, const host::TrackResult& result)
{
    if (status_)
        return;
    workerPaths_.done(place);
    if (isHopeless(result)) {
        clearProgress();
        complain(QStringLiteral("tunesift: %1\n").arg(result.error->text));
        end(kNothingDone);
        return;
    }
    TrackOutcome outcome = outcomeFor(place);
    outcome.result = result;
    outcome.result.path = readablePath(outcome.path);
    outcome.failure = failureOf(outcome.path, result);
    // A file that changed during the analysis has results of neither state: no stamp matches them later.
    const auto before = running_.at(place);
    running_.erase(place);
    const auto after = fileFacts(outcome.path).stamp;
    outcome.stamp = before == after ? after : std::nullopt;
    report(std::move(outcome), place);
}

void Batch::report(TrackOutcome outcome, qint64 place)
{
    BatchCount& count = summary_.count;
    ++count.done;
    if (outcome.result.succeeded() && outcome.result.seconds)
        count.musicSeconds += *outcome.result.seconds;
    if (outcome.failure) {
        ++count.failed;
        if (printer_.tellsFailures())
            summary_.failed.emplace_back(outcome.path, outcome.failure->kind);
    }
    if (printer_.showsOnTerminal(outcome) || tracks_.size() == 1)
        clearProgress();
    if (const auto problem = printer_.print(place, std::move(outcome))) {
        clearProgress();
        complain(QStringLiteral("tunesift: cannot write the output: %1.\n").arg(*problem));
        end(kSomeFailed);
        return;
    }
    if (tracks_.size() > 1)
        progress_.show(count);
}

void Batch::end(int status)
{
    if (status_)
        return;
    status_ = status;
    pool_.abort();
    loop_.quit();
}

void Batch::clearProgress()
{
    bar_.clear();
    progress_.clear();
}

}  // namespace tunesift::cli
