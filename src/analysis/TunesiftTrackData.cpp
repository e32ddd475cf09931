#include "analysis/TunesiftTrackData.h"

#include "analysis/BeatDetectionRunner.h"
#include "runtime/weakptr.h"

#include <utility>

namespace {

constexpr int kOverviewSize = 1024;

}  // namespace

TunesiftTrackData::TunesiftTrackData(const QString& path, ebo::refptr<eboFileFormats> formats,
                                     RunThreads& runThreads)
    : ITrackData(path, std::move(formats)), runThreads_(runThreads)
{}

TunesiftTrackData::~TunesiftTrackData() { TunesiftTrackData::stopBeatDetectionRunner(); }

bool TunesiftTrackData::startBeatDetectionRunner(AnalysisPreferences preferences)
{
    if (isBeatDetectionRunning())
        return false;
    run_ = std::make_shared<AnalysisRun>(ebo::weakptr<ITrackData>(this));
    relay(*run_->runner());
    if (!runThreads_.start(run_))
        return false;
    Q_EMIT startBeatDetectionRunner(path(), preferences, kOverviewSize);
    return true;
}

void TunesiftTrackData::relay(const BeatDetectionRunner& runner)
{
    connect(this, qOverload<QString, AnalysisPreferences, int>(&TunesiftTrackData::startBeatDetectionRunner),
            &runner, &BeatDetectionRunner::process);
    connect(&runner, &BeatDetectionRunner::detectionStarted, this, &ITrackData::detectionStarted);
    connect(&runner, &BeatDetectionRunner::detectionProgress, this, &ITrackData::detectionProgress);
    connect(&runner, &BeatDetectionRunner::detectionStopped, this, &ITrackData::detectionStopped);
    connect(&runner, &BeatDetectionRunner::detectionFinished, this, &ITrackData::detectionFinished);
    connect(&runner, &BeatDetectionRunner::detectionError, this, &ITrackData::detectionError);
    connect(&runner, &BeatDetectionRunner::beatDataChunkProcessed, this, &ITrackData::beatDataUpdated);
    connect(&runner, &BeatDetectionRunner::trackDataChunkProcessed, this, &ITrackData::trackDataUpdated);
    connect(&runner, &BeatDetectionRunner::overviewWaveChunkProcessed, this,
            &ITrackData::overviewWaveUpdated);
    connect(&runner, &BeatDetectionRunner::highResolutionWaveChunkProcessed, this,
            &ITrackData::highResolutionWaveUpdated);
}

void TunesiftTrackData::stopBeatDetectionRunner()
{
    if (run_)
        run_->stop();
}
