#pragma once

#include "network/discovery/HostController.h"
#include "network/discovery/Receiver.h"
#include "network/discovery/Sender.h"
#include "runtime/HomeThread.h"

#include <QMutex>
#include <QWaitCondition>

#include <memory>

namespace eboDiscoverer {

class Discoverer;

/// The thread that discovery runs on. The object lives on its own thread: all objects of discovery are made
/// and ended there.
class DiscovererThread : public ebo::HomeThread {
    Q_OBJECT

public:
    /// @param discoverer  outlives the thread
    explicit DiscovererThread(Discoverer& discoverer);

    /// Starts the thread and returns when discovery is at work, or if the system has no thread to give. From
    /// another thread than this one.
    void startAndWait();

    /// Ends the thread, if it runs, and waits for that.
    void stopAndWait();

    /// The table of hosts; null while discovery is not at work. Any thread.
    [[nodiscard]] std::shared_ptr<HostController> hostController() const;

private Q_SLOTS:
    void init();
    void deinit();

private:
    mutable QMutex mutex_;
    QWaitCondition initialised_;
    std::shared_ptr<HostController> hostController_;  // guarded by mutex_
    std::unique_ptr<Receiver> receiver_;
    std::unique_ptr<Sender> sender_;
    Discoverer& discoverer_;
};

}  // namespace eboDiscoverer
