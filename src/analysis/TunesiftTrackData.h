#pragma once

#include "analysis/ITrackData.h"
#include "analysis/RunThreads.h"
#include "analysis/StopAnalysisFlag.h"

#include <QThread>

/// The track of one run: starts a BeatDetectionRunner on a thread of its own and relays what it reports.
///
/// The runner holds the track only weakly, so the track may die in the middle of a run; the run is then told
/// to stop. Runner and thread end by themselves or, at exit, through RunThreads.
class TunesiftTrackData : public ITrackData {
    Q_OBJECT

public:
    TunesiftTrackData(const QString& path, ebo::refptr<eboFileFormats> formats, RunThreads& runThreads);
    ~TunesiftTrackData() override;

    bool startBeatDetectionRunner(AnalysisPreferences preferences) override;
    void stopBeatDetectionRunner() override;
    [[nodiscard]] bool isBeatDetectionRunning() const override { return thread_ != nullptr; }

Q_SIGNALS:
    /// To the runner on its thread.
    void startBeatDetectionRunner(QString path, AnalysisPreferences analysisPreferences, int overviewSize);
    void runnerStopRequested();

private:
    RunThreads& runThreads_;
    const SharedStopAnalysisFlag stopFlag_;
    QThread* thread_ = nullptr;  ///< Of the run once started; only ever compared with null.
};
