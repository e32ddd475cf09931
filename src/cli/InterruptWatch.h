#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace tunesift::cli {

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal for as long as it lives, so that workers and temporary
/// files can be put away. One at a time, on the main thread. A second signal of the same kind ends the
/// process in the usual way.
class InterruptWatch : public QObject {
    Q_OBJECT

public:
    InterruptWatch();
    ~InterruptWatch() override;

    /// The signal's number, 0 so long as none has come.
    [[nodiscard]] static int signalNumber() noexcept;

Q_SIGNALS:
    /// From the event loop.
    void interrupted();

private:
    QSocketNotifier notifier_;
};

}  // namespace tunesift::cli
