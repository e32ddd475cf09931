#pragma once

#include "analysis/AnalysisRun.h"

#include <QObject>

#include <memory>
#include <vector>

/// All runs whose thread is up: running ones, and those whose track was too short, which stay up without
/// work. Main thread only.
///
/// A run that ends in the ordinary way leaves this table by itself. Idle ones make room when the system, or
/// this table, has none left for a new run; before the process ends, joinAll sees to all.
class RunThreads : public QObject {
    Q_OBJECT

public:
    /// Threads that may be up before idle ones are ended for a new run. Far more than a host needs; a host
    /// that replaces each run by the next as fast as it can write gets no further ahead of their ends.
    static constexpr int kMostUp = 16;

    RunThreads() = default;
    ~RunThreads() override;

    /// Starts the thread of a run and takes the run in. False if the system has no thread to give; the run is
    /// then left alone.
    [[nodiscard]] bool start(const std::shared_ptr<AnalysisRun>& run);

    /// Threads that are still up.
    [[nodiscard]] int count() const noexcept { return static_cast<int>(runs_.size()); }

    /// Tells every run to stop, joins all threads, and ends what they leave behind. Needs no event loop.
    void joinAll();

private:
    void makeRoom();

    std::vector<std::shared_ptr<AnalysisRun>> runs_;
};
