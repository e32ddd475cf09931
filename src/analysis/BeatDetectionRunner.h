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

#include <atomic>
#include <cstdint>

class Analysis;
class eboAudioFormatReader;

/// Carries one analysis of one track from start to end: pulls the track from its reader block by block,
/// hands each block to Analysis, and tells after each block what is new.
///
/// Made on the main thread, then moved to the run's own thread, where all else happens. Belongs to an
/// AnalysisRun, which deletes it when the thread has ended.
class BeatDetectionRunner : public QObject, public StatusCallbackInterface {
    Q_OBJECT

public:
    /// Frames of a block.
    static constexpr std::uint32_t kBlockSize = 16384;

    /// @param track     asked for the reader; a running analysis keeps no track alive
    /// @param stopFlag  shared with the track, for the stages in which no events are looked at
    BeatDetectionRunner(ebo::weakptr<ITrackData> track, SharedStopAnalysisFlag stopFlag);
    ~BeatDetectionRunner() override;

    /// Whether the run has come to its end, in whatever way. Any thread.
    [[nodiscard]] bool isOver() const noexcept { return isOver_; }

    /// From the last stage of beat analysis: adds to the progress and tells it, unless the run is to stop.
    bool addProgress(float amount) override;

public Q_SLOTS:
    /// Takes effect between blocks.
    void stopBeatDetection();

    /// The whole run. Ends with finished, except for a track that is not longer than one detector frame:
    /// that one reports detectionError and leaves its thread up. Before any word of the end, the track's file
    /// has been closed and the memory of the analysis given back.
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
    enum class Outcome { kComplete, kStopped, kUnusable, kTooShort };

    /// What is left to tell of a run when nothing else of it is left.
    struct End {
        Outcome outcome = Outcome::kUnusable;
        QByteArray trackDataChunk = {};  ///< The final one, of a complete run.
        double bpm = 0.0;
    };

    End run(const QString& path, AnalysisPreferences analysisPreferences, int overviewSize);
    End analyze(const QString& path, AnalysisPreferences analysisPreferences, int overviewSize);
    void letGo();
    void tell(const End& end);
    ebo::refptr<eboAudioFormatReader> createReader();
    Outcome analyzeBlocks(eboAudioFormatReader& reader, Analysis& analysis);
    std::uint32_t readBlock(eboAudioFormatReader& reader, std::uint32_t wanted);
    void emitNewChunks(Analysis& analysis);
    bool stopsNow();

    std::atomic<bool> isOver_{false};
    bool stopRequested_ = false;
    const SharedStopAnalysisFlag stopFlag_;
    const ebo::weakptr<ITrackData> track_;
    boost::shared_array<float> sampleBuffer_;
    std::uint32_t blockCount_ = 0;
    std::uint32_t lastBlockSize_ = 0;  ///< Frames.
    std::uint32_t position_ = 0;       ///< Of the current block, in frames.
    float progress_ = 0.0f;
};
