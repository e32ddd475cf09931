#include "app/BeatDetectorWorker.h"

#include "analysis/TunesiftTrackDataFactory.h"
#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"
#include "network/nfs/netUrl.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QtEndian>

#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
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

/// While it is on, the system gathers what is written into full segments.
void setCork(const QTcpSocket& socket, bool isOn)
{
    const int value = isOn ? 1 : 0;
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), IPPROTO_TCP, TCP_CORK, &value, sizeof(value));
}

}  // namespace

BeatDetectorWorker::BeatDetectorWorker(RunThreads& runThreads)
    : socket_(new QTcpSocket(this)), fileFactory_(ebo::makeRef<eboNfsFileFactory>()),
      fileFormats_(ebo::makeRef<eboFileFormats>(fileFactory_)),
      trackDataFactory_(ebo::makeRef<TunesiftTrackDataFactory>(fileFormats_, runThreads))
{}

BeatDetectorWorker::~BeatDetectorWorker()
{
    // The socket outlives the other members as a child and would report its end to an object half gone.
    socket_->disconnect(this);
    // The run is told to stop before its file goes away under it.
    trackData_.reset();
    fileSharing_.tearDown();
}

void BeatDetectorWorker::connectToHost(std::uint16_t port)
{
    QCoreApplication* application = QCoreApplication::instance();
    connect(socket_, &QTcpSocket::connected, this, &BeatDetectorWorker::onSocketConnected);
    connect(socket_, &QTcpSocket::disconnected, application, &QCoreApplication::quit);
    connect(socket_, SIGNAL(error(QAbstractSocket::SocketError)), application, SLOT(quit()));
    networkWaitTimer_.setSingleShot(true);
    connect(&networkWaitTimer_, &QTimer::timeout, this, &BeatDetectorWorker::onNetworkWaitTimer);
    socket_->connectToHost(QHostAddress(QHostAddress::LocalHost), port, QIODevice::ReadWrite);
    connect(this, &BeatDetectorWorker::finished, application, &QCoreApplication::quit);
}

void BeatDetectorWorker::onSocketConnected()
{
    connect(socket_, &QTcpSocket::readyRead, this, &BeatDetectorWorker::onReadyRead);
}

void BeatDetectorWorker::onReadyRead()
{
    // A send that waits lets the socket read on, inside the slot that sends. That slot comes to its end
    // first; a start must not replace the track under its feet.
    if (isSending_) {
        commandsWait_ = true;
        return;
    }
    for (auto [id, payload] = nextCommand(socket_); id != 0; std::tie(id, payload) = nextCommand(socket_)) {
        switch (id) {
        case kStart:
            startAnalysis(payload);
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
}

int BeatDetectorWorker::startAnalysis(const QByteArray& payload)
{
    const auto preferences = AnalysisPreferences::fromPayload(payload);
    const QString path = QString::fromUtf8(payload.mid(AnalysisPreferences::kRecordSize));

    if (eboNetUrl::isNetPath(path) && !isReachable(path, payload))
        return 0;
    if (trackData_)
        unrelayTrack();
    trackData_ = trackDataFactory_->create(path);
    relayTrack();
    trackData_->startBeatDetectionRunner(preferences);
    send(kStarted);
    return 1;
}

bool BeatDetectorWorker::isReachable(const QString& netPath, const QByteArray& payload)
{
    if (!fileSharing_.isUp()) {
        fileSharing_.bringUp(fileFactory_);
        pendingCommands_.append(payload);
    } else if (fileSharing_.nfs()->getFile(eboNetUrl::toUrl(netPath), true)) {
        return true;
    }
    networkWaitTimer_.start(kNetworkWaitMilliseconds);
    return false;
}

void BeatDetectorWorker::onNetworkWaitTimer()
{
    QList<QByteArray> waiting = std::exchange(pendingCommands_, {});
    bool hasBegun = false;
    while (!waiting.isEmpty() && !hasBegun) {
        const QByteArray payload = waiting.takeFirst();
        const int known = pendingCommands_.size();
        hasBegun = startAnalysis(payload) != 0;
        // A start that had to bring the network up again has put itself back on the list.
        if (!hasBegun && pendingCommands_.size() == known)
            pendingCommands_.append(payload);
    }
    pendingCommands_.append(waiting);
    if (hasBegun)
        networkWaitTimer_.start(kNetworkWaitMilliseconds);
}

void BeatDetectorWorker::relayTrack()
{
    const ITrackData* track = trackData_.get();
    connect(track, &ITrackData::detectionProgress, this, &BeatDetectorWorker::onDetectionProgress);
    connect(track, &ITrackData::detectionFinished, this, &BeatDetectorWorker::onDetectionFinished);
    connect(track, &ITrackData::detectionError, this, &BeatDetectorWorker::onDetectionError);
    connect(track, &ITrackData::detectionStopped, this, &BeatDetectorWorker::onDetectionStopped);
    connect(track, &ITrackData::beatDataUpdated, this, &BeatDetectorWorker::onBeatDataUpdated);
    connect(track, &ITrackData::trackDataUpdated, this, &BeatDetectorWorker::onTrackDataUpdated);
    connect(track, &ITrackData::overviewWaveUpdated, this, &BeatDetectorWorker::onOverviewWaveUpdated);
    connect(track, &ITrackData::highResolutionWaveUpdated, this,
            &BeatDetectorWorker::onHighResolutionWaveUpdated);
}

void BeatDetectorWorker::unrelayTrack()
{
    const ITrackData* track = trackData_.get();
    disconnect(track, &ITrackData::detectionProgress, this, nullptr);
    disconnect(track, &ITrackData::detectionFinished, this, nullptr);
    disconnect(track, &ITrackData::detectionStopped, this, nullptr);
    disconnect(track, &ITrackData::beatDataUpdated, this, nullptr);
    disconnect(track, &ITrackData::trackDataUpdated, this, nullptr);
    disconnect(track, &ITrackData::overviewWaveUpdated, this, nullptr);
    disconnect(track, &ITrackData::highResolutionWaveUpdated, this, nullptr);
}

void BeatDetectorWorker::endRun()
{
    // Its signal is what led here: it must not be deleted while the network's end delivers deletions.
    const auto ended = std::exchange(trackData_, nullptr);
    fileSharing_.tearDown();
}

void BeatDetectorWorker::onDetectionProgress(double progress)
{
    send(kProgress, littleEndian(static_cast<float>(progress)));
}

void BeatDetectorWorker::onDetectionStopped()
{
    send(kStopped);
    endRun();
}

void BeatDetectorWorker::onDetectionError()
{
    // The one relay that a replaced track keeps; its late error must not end the run that replaced it.
    if (sender() != trackData_.get())
        return;
    send(kError);
    endRun();
}

void BeatDetectorWorker::onDetectionFinished(double bpm)
{
    send(kFinished, littleEndian(bpm));
    endRun();
}

void BeatDetectorWorker::onBeatDataUpdated(const QByteArray& newChunk) { send(kBeatDataChunk, newChunk); }

void BeatDetectorWorker::onTrackDataUpdated(const QByteArray& newChunk) { send(kTrackDataChunk, newChunk); }

void BeatDetectorWorker::onOverviewWaveUpdated(const QByteArray& newChunk)
{
    send(kOverviewWaveChunk, newChunk);
}

void BeatDetectorWorker::onHighResolutionWaveUpdated(const QByteArray& newChunk)
{
    send(kHighResolutionWaveChunk, newChunk);
}

void BeatDetectorWorker::send(quint32 messageId, const QByteArray& payload)
{
    isSending_ = true;
    holdSegments();
    sendMessage(socket_, streamTag_, messageId, payload);
    // On its way at once if the connection takes it: that spares the next message the wait for this one.
    socket_->flush();
    isSending_ = false;
    if (std::exchange(commandsWait_, false))
        QMetaObject::invokeMethod(this, &BeatDetectorWorker::onReadyRead, Qt::QueuedConnection);
}

/// The messages of a block come in one turn of the event loop. Held back until the turn's end, they travel in
/// one segment instead of four, and the host wakes once.
void BeatDetectorWorker::holdSegments()
{
    if (std::exchange(segmentsAreHeld_, true))
        return;
    setCork(*socket_, true);
    QMetaObject::invokeMethod(this, &BeatDetectorWorker::releaseSegments, Qt::QueuedConnection);
}

void BeatDetectorWorker::releaseSegments()
{
    segmentsAreHeld_ = false;
    setCork(*socket_, false);
}
