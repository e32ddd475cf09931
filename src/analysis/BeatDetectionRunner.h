#pragma once

#include "analysis/AnalysisPreferences.h"
#include "analysis/ITrackData.h"
#include "analysis/StatusCallbackInterface.h"
#include "analysis/StopAnalysisFlag.h"
#include "runtime/weakptr.h"

#include <boost/shared_array.hpp>

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstdint>

class Analysis;
class eboAudioFormatReader;

/// Carries one analysis of one track from start to end: pulls the track from its reader block by block,
/// hands each block to Analysis, and tells after each block what is new.
///
/// Made on the main thread, then moved to the run's own thread, where all else happens. Never held by a
/// refptr: it ends by deleteLater or through RunThreads.
class BeatDetectionRunner : public QObject, public ebo::refcounted, public StatusCallbackInterface {
    Q_OBJECT

public:
    /// Frames of a block.
    static constexpr std::uint32_t kBlockSize = 16384;

    /// @param track     asked for the reader; a running analysis keeps no track alive
    /// @param stopFlag  shared with the track, for the stages in which no events are looked at
    BeatDetectionRunner(ebo::weakptr<ITrackData> track, SharedStopAnalysisFlag stopFlag);
    ~BeatDetectionRunner() override;

    /// From the last stage of beat analysis: adds to the progress and tells it, unless the run is to stop.
    bool addProgress(float amount) override;

public Q_SLOTS:
    /// Takes effect between blocks.
    void stopBeatDetection();

    /// The whole run. Ends with finished, except for a track that is not longer than one detector frame:
    /// that one reports detectionError and leaves its thread up.
    void process(const QString& path, AnalysisPreferences analysisPreferences, int overviewSize);

Q_SIGNALS:
    void finished();
    void detectionStarted();
    void detectionFinished(double bpm);
    void detectionStopped();
    void detectionProgress(double progress);
    void detectionError();
    void trackDataChunkProcessed(QByteArray trackDataChunk);
    void beatDataChunkProcessed(QByteArray beatDataChunk);
    void overviewWaveChunkProcessed(QByteArray overviewWaveChunk);
    void highResolutionWaveChunkProcessed(QByteArray highResolutionWaveChunk);

private:
    enum class Outcome { kComplete, kStopped, kUnusable };

    ebo::refptr<eboAudioFormatReader> createReader();
    Outcome analyzeBlocks(eboAudioFormatReader& reader, Analysis& analysis);
    std::uint32_t readBlock(eboAudioFormatReader& reader, std::uint32_t wanted);
    void emitNewChunks(Analysis& analysis);
    bool stopsNow();

    bool stopRequested_ = false;
    const SharedStopAnalysisFlag stopFlag_;
    const ebo::weakptr<ITrackData> track_;
    boost::shared_array<float> sampleBuffer_;
    std::uint32_t blockCount_ = 0;
    std::uint32_t lastBlockSize_ = 0;  ///< Frames.
    std::uint32_t position_ = 0;       ///< Of the current block, in frames.
    float progress_ = 0.0f;
};
