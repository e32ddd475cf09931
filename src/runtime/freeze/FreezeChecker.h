#pragma once

#include "runtime/freeze/Probe.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace eboFreezeDetector {

/// Called with all the probes that were found frozen at one check, on the checker's thread.
using FrozenHandler = std::function<void(const std::vector<ProbePtr>&)>;

/// Looks once a second whether the probes still move. Lives on the controller's thread.
class FreezeChecker : public QObject {
    Q_OBJECT

public:
    static constexpr int kIntervalMilliseconds = 1000;

    explicit FreezeChecker(FrozenHandler handler);

    /// Begins to look.
    Q_INVOKABLE void start();

    Q_INVOKABLE void addProbe(const eboFreezeDetector::ProbePtr& probe);
    Q_INVOKABLE void removeProbe(const eboFreezeDetector::ProbePtr& probe);

public Q_SLOTS:
    void onCheckInterval();

    /// Ends the looking, on the thread that it began on.
    void stop() { timer_.reset(); }

private:
    const FrozenHandler handler_;
    std::unique_ptr<QTimer> timer_;  // null while it does not look
    std::vector<ProbePtr> probes_;
    qint64 clock_ = 0;  // milliseconds since the start, counted in checks
};

}  // namespace eboFreezeDetector
