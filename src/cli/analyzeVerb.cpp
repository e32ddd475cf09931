#include "cli/analyzeVerb.h"

#include "cli/AnalyzeOptions.h"
#include "cli/DemoTrack.h"
#include "cli/InterruptWatch.h"
#include "cli/ProgressBar.h"
#include "cli/TrackOutcome.h"
#include "cli/exitStatus.h"
#include "cli/humanReport.h"
#include "cli/jsonReport.h"
#include "cli/output.h"
#include "cli/pathProblem.h"
#include "host/AnalysisSession.h"
#include "host/analyzeTrack.h"

#include <optional>

namespace tunesift::cli {
namespace {

std::optional<Failure> failureOf(const host::TrackResult& result)
{
    if (result.succeeded())
        return {};
    if (result.error->kind == host::ErrorKind::kRejected)
        return Failure{QStringLiteral("unsupported"),
                       QStringLiteral("it is no audio that the worker can read, or too short to analyse")};
    return Failure{host::kindName(result.error->kind), result.error->text};
}

TrackOutcome analyzeOne(host::AnalysisSession& session, const host::AnalysisRequest& request)
{
    TrackOutcome outcome;
    outcome.failure = pathProblem(request.path);
    if (outcome.failure) {
        outcome.result.path = request.path;
        return outcome;
    }
    outcome.result = host::analyzeTrack(session, request);
    outcome.failure = failureOf(outcome.result);
    return outcome;
}

host::AnalysisRequest requestFor(const QString& track, const AnalyzeOptions& options)
{
    host::AnalysisRequest request{track, options.preferences};
    if (options.wait && host::isNetPath(track))
        request.patience = *options.wait;
    return request;
}

void report(const TrackOutcome& outcome, bool json)
{
    if (json)
        print(jsonReport(outcome));
    else if (outcome.failure)
        complain(QStringLiteral("tunesift: %1: %2\n").arg(outcome.result.path, outcome.failure->text));
    else
        print(humanReport(outcome.result));
}

int analyzeAll(const AnalyzeOptions& options)
{
    const InterruptWatch interrupts;
    host::WorkerSettings settings;
    settings.program = options.worker;
    host::AnalysisSession session(settings);
    ProgressBar bar;
    QObject::connect(&interrupts, &InterruptWatch::interrupted, &session, &host::AnalysisSession::abort);
    QObject::connect(&session, &host::AnalysisSession::progressed, &session,
                     [&bar](double share) { bar.show(share); });

    int status = kAllWell;
    for (const QString& track : options.tracks) {
        bar.begin(track);
        const TrackOutcome outcome = analyzeOne(session, requestFor(track, options));
        bar.clear();
        if (const int signal = InterruptWatch::signalNumber(); signal != 0) {
            complain(QStringLiteral("tunesift: interrupted\n"));
            return kInterruptedBase + signal;
        }
        report(outcome, options.json);
        if (outcome.failure)
            status = kSomeFailed;
    }
    return status;
}

int analyzeDemo(AnalyzeOptions options)
{
    const DemoTrack demo;
    if (!demo.isGood()) {
        complain(QStringLiteral("tunesift: cannot write the demo track %1\n").arg(demo.path()));
        return kSomeFailed;
    }
    if (options.json)
        complain(DemoTrack::description());
    else
        print(DemoTrack::description());
    options.tracks = QStringList{demo.path()};
    return analyzeAll(options);
}

}  // namespace

int analyzeVerb(const QStringList& arguments)
{
    const auto parsed = parseAnalyzeOptions(arguments);
    if (const auto* help = std::get_if<HelpWanted>(&parsed)) {
        print(help->text);
        return kAllWell;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        complain(QStringLiteral("tunesift: %1 Try 'tunesift analyze --help'.\n").arg(error->text));
        return kBadUsage;
    }
    const auto& options = std::get<AnalyzeOptions>(parsed);
    return options.tracks.isEmpty() ? analyzeDemo(options) : analyzeAll(options);
}

}  // namespace tunesift::cli
