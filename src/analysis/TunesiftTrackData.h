#pragma once

#include "analysis/AnalysisRun.h"
#include "analysis/ITrackData.h"
#include "analysis/RunThreads.h"

#include <memory>

/// The track of one run: starts a BeatDetectionRunner on a thread of its own and relays what it reports.
///
/// The runner holds the track only weakly, so the track may die in the middle of a run; the run is then told
/// to stop. Its thread is the affair of RunThreads.
class TunesiftTrackData : public ITrackData {
    Q_OBJECT

public:
    TunesiftTrackData(const QString& path, ebo::refptr<eboFileFormats> formats, RunThreads& runThreads);
    ~TunesiftTrackData() override;

    bool startBeatDetectionRunner(AnalysisPreferences preferences) override;
    void stopBeatDetectionRunner() override;
    [[nodiscard]] bool isBeatDetectionRunning() const override { return run_ && run_->hasStarted(); }

Q_SIGNALS:
    /// To the runner on its thread.
    void startBeatDetectionRunner(QString path, AnalysisPreferences analysisPreferences, int overviewSize);

private:
    void relay(const BeatDetectionRunner& runner);

    RunThreads& runThreads_;
    std::shared_ptr<AnalysisRun> run_;  ///< Null before the start.
};
