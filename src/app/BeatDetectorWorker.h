#pragma once

#include "analysis/ITrackData.h"
#include "analysis/ITrackDataFactory.h"
#include "analysis/RunThreads.h"
#include "formats/eboFileFormats.h"
#include "network/nfs/FileSharing.h"
#include "network/nfs/eboNfsFileFactory.h"
#include "runtime/refptr.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <cstdint>

/// The control object of the process: owns the connection to the host, turns its commands into runs, and
/// relays to it what a run reports. It analyses nothing itself. Main thread only.
///
/// A track on another device brings the network up for the length of its run. Its start waits, without a
/// limit and without a word to the host, until the device is found; a further start of that kind is lost
/// meanwhile.
///
/// A second start while a run goes on replaces the run: the old track dies and so tells its run to stop, and
/// what that run still reports reaches nobody.
class BeatDetectorWorker : public QObject {
    Q_OBJECT

public:
    /// @param runThreads  takes the threads of the runs; outlives the worker and all its tracks
    explicit BeatDetectorWorker(RunThreads& runThreads);
    ~BeatDetectorWorker() override;

    /// Begins to connect to the host on the loopback address; does not wait. Losing the connection, or never
    /// getting it, quits the application.
    void connectToHost(std::uint16_t port);

Q_SIGNALS:
    /// The host has told the process to quit.
    void finished();

private Q_SLOTS:
    void onSocketConnected();
    void onReadyRead();
    void onDetectionProgress(double progress);
    void onDetectionStopped();
    void onDetectionError();
    void onDetectionFinished(double bpm);
    void onBeatDataUpdated(const QByteArray& newChunk);
    void onTrackDataUpdated(const QByteArray& newChunk);
    void onOverviewWaveUpdated(const QByteArray& newChunk);
    void onHighResolutionWaveUpdated(const QByteArray& newChunk);
    void onNetworkWaitTimer();

private:
    /// @return 1 if the run has begun, 0 if its file is not known yet
    int startAnalysis(const QByteArray& payload);
    [[nodiscard]] bool isReachable(const QString& netPath, const QByteArray& payload);
    void relayTrack();
    void unrelayTrack();
    void endRun();
    void send(quint32 messageId, const QByteArray& payload = {});

    void holdSegments();
    void releaseSegments();

    QTcpSocket* const socket_;
    const ebo::refptr<eboNfsFileFactory> fileFactory_;
    const ebo::refptr<eboFileFormats> fileFormats_;
    ebo::refptr<ITrackData> trackData_;  ///< Of the current run, or null.
    const ebo::refptr<ITrackDataFactory> trackDataFactory_;
    FileSharing fileSharing_;  ///< Up for the length of one run on a net path.
    QTimer networkWaitTimer_;
    QList<QByteArray> pendingCommands_;  ///< Starts that wait for the network.
    const std::uint32_t streamTag_ = 0;
    bool isSending_ = false;
    bool commandsWait_ = false;  ///< Arrived in the middle of a send.
    bool segmentsAreHeld_ = false;
};
