#pragma once

#include "runtime/freeze/Probe.h"

#include <QString>
#include <QTimer>

#include <memory>

namespace eboFreezeDetector {

/// A probe that a timer moves once a second.
class TimerProbe : public Probe {
    Q_OBJECT

public:
    static constexpr int kIntervalMilliseconds = 1000;

    /// Watches the calling thread, and lives there. @param name  of the thread, for the last words
    TimerProbe(const QString& name, int timeOutMilliseconds);

    /// Ends the timer; on the watched thread, before that ends. The probe itself may go on any thread then.
    void stop() { timer_.reset(); }

private Q_SLOTS:
    void onTimer() { tick(); }

private:
    std::unique_ptr<QTimer> timer_;  // null after the stop
};

}  // namespace eboFreezeDetector
