#pragma once

#include "analysis/AnalysisPreferences.h"
#include "formats/StopCheck.h"
#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"
#include "formats/eboFormatReader.h"
#include "runtime/refptr.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstdint>
#include <mutex>

/// One track during one run: where it lies, how to read it, and the signals by which the run reports.
///
/// Lives on the main thread; readers may be asked for on any thread.
class ITrackData : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// @param formats  makes the readers; without it the track has none
    ITrackData(QString path, ebo::refptr<eboFileFormats> formats);
    ~ITrackData() override;

    [[nodiscard]] virtual QString path() const;

    /// Frames per second; 44100 for a track that cannot be read.
    [[nodiscard]] virtual double sampleRate();

    /// Frames; 0 for a track that cannot be read.
    [[nodiscard]] virtual std::int64_t length();

    /// A reader for a run: the track's own first one, after that clones of it, so that no two users share a
    /// read position. Null if the file cannot be read.
    /// @param stopCheck  for the first reader: ends its making and all its reads once it says so
    /// @throws std::runtime_error if there is none yet and it may not be made
    [[nodiscard]] virtual ebo::refptr<eboFormatReader> createReader(bool allowCreation,
                                                                    const StopCheck& stopCheck = {});

    /// Closes the track's own first reader, which is also that of its run, and lets go of it. The next one is
    /// made anew.
    void closeReader();

    /// Starts the run on a thread of its own. False, with nothing started, if one was started before.
    virtual bool startBeatDetectionRunner(AnalysisPreferences preferences) = 0;

    /// Asks the run to end; it reports detectionStopped when it has. Harmless without a run.
    virtual void stopBeatDetectionRunner() = 0;

    [[nodiscard]] virtual bool isBeatDetectionRunning() const = 0;

Q_SIGNALS:
    void detectionStarted();
    void detectionStopped();
    void detectionFinished(double bpm);
    void detectionProgress(double progress);
    void detectionError();
    // Seven that belong to the interface of a track, and that this process has no reason to emit: these six,
    // and trackChanged.
    void waveformDataChanged();
    void beatDataChanged();
    void renderingStarted();
    void renderingProgress(double progress);
    void renderingFinished();
    void renderingError();
    void beatDataUpdated(QByteArray chunk);
    void trackDataUpdated(QByteArray chunk);
    void overviewWaveUpdated(QByteArray chunk);
    void highResolutionWaveUpdated(QByteArray chunk);
    void trackChanged();

private:
    ebo::refptr<eboAudioFormatReader> cachedReader(const StopCheck& stopCheck = {});

    const QString path_;
    const ebo::refptr<eboFileFormats> formats_;
    std::mutex readerMutex_;
    ebo::refptr<eboAudioFormatReader> reader_;  ///< Null until the first use; guarded by readerMutex_.
};
