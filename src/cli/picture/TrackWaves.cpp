#include "cli/picture/TrackWaves.h"

#include "cli/batch/WorkerPaths.h"
#include "cli/rows/fileFacts.h"
#include "host/AnalysisSession.h"
#include "host/analyzeTrack.h"

namespace tunesift::cli {
namespace {

/// Takes what belongs to the pictures from the messages of a run.
class Gatherer {
public:
    explicit Gatherer(TrackWaves& waves) : waves_(waves) {}

    void operator()(const host::BeatGrid& grid) const { waves_.grid = grid; }
    void operator()(const host::OverviewWave& wave) const
    {
        waves_.framesPerOverviewEntry = wave.framesPerEntry;
        waves_.overview.insert(waves_.overview.end(), wave.entries.begin(), wave.entries.end());
    }
    void operator()(const host::HighResolutionWave& wave) const
    {
        waves_.framesPerEntry = wave.framesPerEntry;
        waves_.highResolution.insert(waves_.highResolution.end(), wave.entries.begin(), wave.entries.end());
    }
    template <typename Other>
    void operator()(const Other& /*message*/) const
    {}

private:
    TrackWaves& waves_;
};

}  // namespace

std::variant<TrackWaves, Failure> analyzeWaves(const QByteArray& path, const host::Preferences& preferences,
                                               const QString& worker)
{
    if (const auto problem = fileFacts(path).problem)
        return *problem;
    WorkerPaths names;
    const auto name = names.nameFor(0, path);
    if (!name)
        return Failure{kUnsupported,
                       QStringLiteral("its name is not UTF-8, and a link to it could not be made")};

    TrackWaves waves;
    host::WorkerSettings settings;
    settings.program = worker;
    settings.memoryLimit = host::kMemoryLimit;
    host::AnalysisSession session(settings);
    QObject::connect(&session, &host::AnalysisSession::messageReceived, &session,
                     [&waves](const host::Message& message) { std::visit(Gatherer(waves), message); });
    waves.result = host::analyzeTrack(session, {*name, preferences});
    names.done(0);
    if (!waves.result.succeeded())
        return *failureOf(path, waves.result);
    return waves;
}

}  // namespace tunesift::cli
