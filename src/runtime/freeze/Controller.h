#pragma once

#include "runtime/freeze/FreezeChecker.h"

#include <QObject>
#include <QThread>

#include <memory>
#include <mutex>
#include <vector>

namespace eboFreezeDetector {

/// The watchdog of the process's event loops: a thread that ends the process when one of the probes stands
/// still, so that a supervisor can start it anew. It sleeps until somebody calls start(); until then probes
/// wait to be handed to it. All operations may be called on any thread.
class Controller : public QObject {
    Q_OBJECT

public:
    /// The one of the process, made at the first call and ended with the application object; hold it only for
    /// the length of a call.
    [[nodiscard]] static std::shared_ptr<Controller> instance();

    /// @param handler  what happens to frozen probes; without one, they end the process
    explicit Controller(FrozenHandler handler = terminateProcess);

    /// Ends the thread, and waits for that without a limit.
    ~Controller() override;

    /// Wakes the watchdog. Once.
    void start();

    /// The checker looks after this probe from now on; from the start on, if that is still to come.
    void addProbe(const ProbePtr& probe);

    /// It is left alone, whether or not it had been handed over already. To be called before its thread ends.
    void removeProbe(const ProbePtr& probe);

    /// Names the probes and ends the process.
    [[noreturn]] static void terminateProcess(const std::vector<ProbePtr>& frozen);

private:
    void handOver(const ProbePtr& probe);

    QThread thread_;
    FreezeChecker checker_;
    std::mutex mutex_;
    bool isStarted_ = false;         // guarded by mutex_
    std::vector<ProbePtr> waiting_;  // for the start; guarded by mutex_
};

}  // namespace eboFreezeDetector
