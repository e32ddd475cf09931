#pragma once

#include "host/ChildProcess.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tunesift::cli {

/// A file that is to be probed, and the number by which its owner knows it.
struct ProbeTask {
    qint64 number = 0;
    QString path;
};

/// How a probe ended.
struct ProbeOutcome {
    enum class End { kWell, kCannotStart, kDied, kTimedOut, kWantedMemory };

    End end = End::kWell;
    QByteArray output;
};

/// Probes many files at once, each in a process of its own. Lives on a thread with an event loop.
class CheckPool : public QObject {
    Q_OBJECT

public:
    using Source = std::function<std::optional<ProbeTask>()>;

    struct Settings {
        QString program;
        int processes = 1;
        std::chrono::milliseconds timeout{0};
        qint64 memory = 0;  ///< Bytes; 0 for no limit.
    };

    explicit CheckPool(Settings settings) : settings_(std::move(settings)) {}
    ~CheckPool() override;

    /// Begins with the files of the source. Once only.
    void start(Source source);

    /// Ends all processes. Nothing is emitted after it.
    void abort();

Q_SIGNALS:
    void probed(qint64 number, const tunesift::cli::ProbeOutcome& outcome);

    /// The source has ended, and so has the last process. From the event loop.
    void allFinished();

private:
    struct Probe {
        qint64 number = 0;
        bool timedOut = false;
        tunesift::host::ChildProcess process;
        QTimer timer;
    };

    void feed();
    void onFinished(Probe& probe);
    static ProbeOutcome outcomeOf(Probe& probe);

    const Settings settings_;
    Source source_;
    std::vector<std::unique_ptr<Probe>> running_;
    bool aborted_ = false;
};

}  // namespace tunesift::cli
