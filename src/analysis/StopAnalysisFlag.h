#pragma once

#include <atomic>
#include <memory>

/// The cell by which a track tells its run to stop while the run does not look at its events: 0 means go on,
/// 1 stop. Written on the main thread, read on the run's; a late view is tolerated, so no order is asked for.
class StopAnalysisFlag {
public:
    void raise() noexcept { value_.store(1, std::memory_order_relaxed); }
    [[nodiscard]] bool isRaised() const noexcept { return value_.load(std::memory_order_relaxed) == 1; }

private:
    std::atomic<int> value_{0};
};

using SharedStopAnalysisFlag = std::shared_ptr<StopAnalysisFlag>;
