#pragma once

#include "host/AnalysisRequest.h"
#include "host/TrackResult.h"
#include "host/WorkerSettings.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tunesift::host {

class AnalysisSession;

/// A track for the pool, and the number by which its owner knows it.
struct PoolTrack {
    qint64 number = 0;
    AnalysisRequest request;
};

/// Analyses many tracks at once, each worker one after the other. A worker that dies, hangs or takes too much
/// memory costs the result of its track at most, and is replaced. A death that may have come from outside
/// does not even cost that: the track gets a second chance. Lives on a thread with an event loop.
class AnalysisPool : public QObject {
    Q_OBJECT

public:
    /// Gives the next track, or nothing when there are no more. Called whenever a worker is free.
    using Source = std::function<std::optional<PoolTrack>()>;

    /// @param workers  how many tracks are analysed at once; at least 1
    AnalysisPool(const WorkerSettings& settings, int workers);
    ~AnalysisPool() override;

    /// Begins with the tracks of the source. Once only.
    void start(Source source);

    /// Ends all runs and workers at once. Nothing is emitted after it.
    void abort();

Q_SIGNALS:
    /// From the event loop, in whatever order tracks end.
    void trackFinished(qint64 number, const tunesift::host::TrackResult& result);

    /// 0 to 1; the share of the track that is done.
    void progressed(qint64 number, double share);

    /// The source has ended, and so has the last track. From the event loop.
    void allFinished();

private:
    struct Slot {
        std::unique_ptr<AnalysisSession> session;
        PoolTrack track;
        bool isBusy = false;
        bool isSecondChance = false;
    };

    [[nodiscard]] bool isBusy() const;
    void onFinished(Slot& slot, const TrackResult& result);
    void feed(Slot& slot);
    void announceTheEnd();

    Source source_;
    std::vector<std::unique_ptr<Slot>> slots_;
    bool aborted_ = false;
};

}  // namespace tunesift::host
