#pragma once

#include <QMetaType>
#include <QObject>

#include <atomic>
#include <memory>

namespace eboFreezeDetector {

/// Says that a thread's event loop goes round: a counter that moves on the watched thread. Lives there; what
/// the checker notes about it belongs to the checker's thread.
class Probe : public QObject {
    Q_OBJECT

public:
    /// @param timeOutMilliseconds  how long the counter may stand still before the thread counts as frozen
    explicit Probe(int timeOutMilliseconds) : timeOutMilliseconds_(timeOutMilliseconds) {}

    /// The watched thread is alive. Any thread.
    void tick() { ++counter_; }

    /// Checker only: takes note of the counter.
    /// @param now  the checker's clock, in milliseconds
    /// @return whether the counter has stood still for longer than it may
    [[nodiscard]] bool takeNote(qint64 now);

private:
    static constexpr int kNeverSeen = -1;

    qint64 lastChange_ = 0;  // milliseconds on the checker's clock
    std::atomic<int> counter_{0};
    std::atomic<int> lastSeenCounter_{kNeverSeen};
    const int timeOutMilliseconds_;
};

using ProbePtr = std::shared_ptr<Probe>;

}  // namespace eboFreezeDetector

Q_DECLARE_METATYPE(eboFreezeDetector::ProbePtr)
