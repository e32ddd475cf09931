#pragma once

#include "analysis/ITrackData.h"
#include "analysis/ITrackDataFactory.h"
#include "analysis/RunThreads.h"
#include "app/HostConnection.h"
#include "app/WaitingStarts.h"
#include "formats/eboFileFormats.h"
#include "network/nfs/FileSharing.h"
#include "network/nfs/eboNfsFileFactory.h"
#include "runtime/refptr.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <cstdint>

/// The control object of the process: turns the host's commands into runs, and relays to the host what a run
/// reports. It analyses nothing itself. Main thread only.
///
/// A track on another device brings the network up for the length of its run. Its start waits, without a
/// limit and without a word to the host, until the device is found; a further start of that kind is lost
/// meanwhile.
///
/// A second start while a run goes on replaces the run: the old one is told to stop, and what it still
/// reports reaches nobody.
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
    void onCommand(quint32 id, const QByteArray& payload);
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
    void onStart(const QByteArray& payload);

    /// @return 1 if the run has begun, or has ended at once, 0 if its file is not known yet
    int startAnalysis(const QByteArray& payload);
    void begin(const QString& path, AnalysisPreferences preferences);
    void fail();
    void replaceTrack(ebo::refptr<ITrackData> track);
    template <typename Signal, typename Slot>
    void relay(Signal signal, Slot slot);
    void endRun();

    HostConnection host_;
    const ebo::refptr<eboNfsFileFactory> fileFactory_;
    const ebo::refptr<eboFileFormats> fileFormats_;
    ebo::refptr<ITrackData> trackData_;  ///< Of the current run, or null.
    const ebo::refptr<ITrackDataFactory> trackDataFactory_;
    FileSharing fileSharing_;  ///< Up for the length of one run on a net path.
    QTimer networkWaitTimer_;
    WaitingStarts pendingCommands_;  ///< For the network.
};
