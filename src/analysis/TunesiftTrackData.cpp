#include "analysis/TunesiftTrackData.h"

#include "analysis/BeatDetectionRunner.h"
#include "runtime/weakptr.h"

#include <utility>

namespace {

constexpr int kOverviewSize = 1024;

}  // namespace

TunesiftTrackData::TunesiftTrackData(const QString& path, ebo::refptr<eboFileFormats> formats,
                                     RunThreads& runThreads)
    : ITrackData(path, std::move(formats)), runThreads_(runThreads),
      stopFlag_(std::make_shared<StopAnalysisFlag>())
{}

TunesiftTrackData::~TunesiftTrackData()
{
    if (thread_ != nullptr)
        TunesiftTrackData::stopBeatDetectionRunner();
}

bool TunesiftTrackData::startBeatDetectionRunner(AnalysisPreferences preferences)
{
    if (isBeatDetectionRunning())
        return false;

    auto thread = std::make_unique<QThread>();
    auto owned = std::make_unique<BeatDetectionRunner>(ebo::weakptr<ITrackData>(this), stopFlag_);
    BeatDetectionRunner* runner = owned.get();
    thread_ = thread.get();
    runner->moveToThread(thread_);

    connect(this, qOverload<QString, AnalysisPreferences, int>(&TunesiftTrackData::startBeatDetectionRunner),
            runner, &BeatDetectionRunner::process);
    connect(this, &TunesiftTrackData::runnerStopRequested, runner, &BeatDetectionRunner::stopBeatDetection);

    // The thread object lives here, on the main thread, which may be past its event loop when a run ends;
    // the thread is told to quit on the spot.
    connect(runner, &BeatDetectionRunner::finished, thread_, &QThread::quit, Qt::DirectConnection);
    connect(runner, &BeatDetectionRunner::finished, runner, &QObject::deleteLater);
    connect(thread_, &QThread::finished, thread_, &QObject::deleteLater);

    connect(runner, &BeatDetectionRunner::detectionStarted, this, &ITrackData::detectionStarted);
    connect(runner, &BeatDetectionRunner::detectionProgress, this, &ITrackData::detectionProgress);
    connect(runner, &BeatDetectionRunner::detectionStopped, this, &ITrackData::detectionStopped);
    connect(runner, &BeatDetectionRunner::detectionFinished, this, &ITrackData::detectionFinished);
    connect(runner, &BeatDetectionRunner::detectionError, this, &ITrackData::detectionError);
    connect(runner, &BeatDetectionRunner::beatDataChunkProcessed, this, &ITrackData::beatDataUpdated);
    connect(runner, &BeatDetectionRunner::trackDataChunkProcessed, this, &ITrackData::trackDataUpdated);
    connect(runner, &BeatDetectionRunner::overviewWaveChunkProcessed, this, &ITrackData::overviewWaveUpdated);
    connect(runner, &BeatDetectionRunner::highResolutionWaveChunkProcessed, this,
            &ITrackData::highResolutionWaveUpdated);

    runThreads_.start(std::move(thread), std::move(owned), stopFlag_);
    Q_EMIT startBeatDetectionRunner(path(), preferences, kOverviewSize);
    return true;
}

void TunesiftTrackData::stopBeatDetectionRunner()
{
    Q_EMIT runnerStopRequested();
    stopFlag_->raise();
}
