#include "app/BeatDetectorWorker.h"

#include "analysis/TunesiftTrackDataFactory.h"
#include "app/protocol/messageIds.h"
#include "network/nfs/netUrl.h"

#include <QCoreApplication>
#include <QtEndian>

#include <array>
#include <utility>

using namespace eboOfflineAnalysisProtocol;

namespace {

constexpr int kNetworkWaitMilliseconds = 100;

template <typename Number>
QByteArray littleEndian(Number value)
{
    std::array<char, sizeof(Number)> bytes;
    qToLittleEndian(value, bytes.data());
    return {bytes.data(), static_cast<int>(bytes.size())};
}

QString pathOf(const QByteArray& startPayload)
{
    return QString::fromUtf8(startPayload.mid(AnalysisPreferences::kRecordSize));
}

}  // namespace

BeatDetectorWorker::BeatDetectorWorker(RunThreads& runThreads)
    : fileFactory_(ebo::makeRef<eboNfsFileFactory>()),
      fileFormats_(ebo::makeRef<eboFileFormats>(fileFactory_)),
      trackDataFactory_(ebo::makeRef<TunesiftTrackDataFactory>(fileFormats_, runThreads))
{
    networkWaitTimer_.setSingleShot(true);
    connect(&networkWaitTimer_, &QTimer::timeout, this, &BeatDetectorWorker::onNetworkWaitTimer);
    connect(&host_, &HostConnection::commandReceived, this, &BeatDetectorWorker::onCommand);
}

BeatDetectorWorker::~BeatDetectorWorker()
{
    // The run is told to stop before its file goes away under it.
    replaceTrack(nullptr);
    fileSharing_.tearDown();
}

void BeatDetectorWorker::connectToHost(std::uint16_t port)
{
    QCoreApplication* application = QCoreApplication::instance();
    connect(&host_, &HostConnection::lost, application, &QCoreApplication::quit);
    host_.connectToHost(port);
    connect(this, &BeatDetectorWorker::finished, application, &QCoreApplication::quit);
}

void BeatDetectorWorker::onCommand(quint32 id, const QByteArray& payload)
{
    switch (id) {
    case kStart:
        onStart(payload);
        break;
    case kStop:
        if (trackData_)
            trackData_->stopBeatDetectionRunner();
        break;
    case kQuit:
        Q_EMIT finished();
        break;
    default:
        break;
    }
}

void BeatDetectorWorker::onStart(const QByteArray& payload)
{
    // Only the start that brings the network up is tried again.
    const bool mayWait = !fileSharing_.isUp();
    if (startAnalysis(payload) == 0 && mayWait)
        pendingCommands_.add(payload);
}

int BeatDetectorWorker::startAnalysis(const QByteArray& payload)
{
    const QString path = pathOf(payload);
    if (eboNetUrl::isNetPath(path)) {
        if (!fileSharing_.isUp() && !fileSharing_.bringUp(fileFactory_)) {
            fail();
            return 1;
        }
        if (!fileSharing_.nfs()->getFile(eboNetUrl::toUrl(path), true)) {
            networkWaitTimer_.start(kNetworkWaitMilliseconds);
            return 0;
        }
    }
    begin(path, AnalysisPreferences::fromPayload(payload));
    return 1;
}

void BeatDetectorWorker::begin(const QString& path, AnalysisPreferences preferences)
{
    replaceTrack(trackDataFactory_->create(path));
    const bool hasBegun = trackData_->startBeatDetectionRunner(preferences);
    host_.send(kStarted);
    if (!hasBegun)
        onDetectionError();
}

/// For a start whose run cannot even get a track.
void BeatDetectorWorker::fail()
{
    replaceTrack(nullptr);
    host_.send(kStarted);
    onDetectionError();
}

void BeatDetectorWorker::onNetworkWaitTimer()
{
    if (pendingCommands_.tryAgain([this](const QByteArray& payload) { return startAnalysis(payload) != 0; }))
        networkWaitTimer_.start(kNetworkWaitMilliseconds);
}

/// The run that was current is told to stop. What it still reports is not relayed any more.
void BeatDetectorWorker::replaceTrack(ebo::refptr<ITrackData> track)
{
    if (trackData_)
        trackData_->stopBeatDetectionRunner();
    trackData_ = std::move(track);
    if (!trackData_)
        return;
    relay(&ITrackData::detectionProgress, &BeatDetectorWorker::onDetectionProgress);
    relay(&ITrackData::detectionFinished, &BeatDetectorWorker::onDetectionFinished);
    relay(&ITrackData::detectionError, &BeatDetectorWorker::onDetectionError);
    relay(&ITrackData::detectionStopped, &BeatDetectorWorker::onDetectionStopped);
    relay(&ITrackData::beatDataUpdated, &BeatDetectorWorker::onBeatDataUpdated);
    relay(&ITrackData::trackDataUpdated, &BeatDetectorWorker::onTrackDataUpdated);
    relay(&ITrackData::overviewWaveUpdated, &BeatDetectorWorker::onOverviewWaveUpdated);
    relay(&ITrackData::highResolutionWaveUpdated, &BeatDetectorWorker::onHighResolutionWaveUpdated);
}

/// The one place that tells the current run from those before it.
template <typename Signal, typename Slot>
void BeatDetectorWorker::relay(Signal signal, Slot slot)
{
    const ITrackData* const track = trackData_.get();
    connect(track, signal, this, [this, track, slot](const auto&... values) {
        if (track == trackData_.get())
            (this->*slot)(values...);
    });
}

void BeatDetectorWorker::endRun()
{
    trackData_.reset();
    fileSharing_.tearDown();
}

void BeatDetectorWorker::onDetectionProgress(double progress)
{
    host_.send(kProgress, littleEndian(static_cast<float>(progress)));
}

void BeatDetectorWorker::onDetectionStopped()
{
    host_.send(kStopped);
    endRun();
}

void BeatDetectorWorker::onDetectionError()
{
    host_.send(kError);
    endRun();
}

void BeatDetectorWorker::onDetectionFinished(double bpm)
{
    host_.send(kFinished, littleEndian(bpm));
    endRun();
}

void BeatDetectorWorker::onBeatDataUpdated(const QByteArray& newChunk)
{
    host_.send(kBeatDataChunk, newChunk);
}

void BeatDetectorWorker::onTrackDataUpdated(const QByteArray& newChunk)
{
    host_.send(kTrackDataChunk, newChunk);
}

void BeatDetectorWorker::onOverviewWaveUpdated(const QByteArray& newChunk)
{
    host_.send(kOverviewWaveChunk, newChunk);
}

void BeatDetectorWorker::onHighResolutionWaveUpdated(const QByteArray& newChunk)
{
    host_.send(kHighResolutionWaveChunk, newChunk);
}
