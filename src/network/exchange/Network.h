#pragma once

#include "network/exchange/AbstractNetwork.h"
#include "network/exchange/NetworkThreadHelper.h"
#include "network/exchange/ServiceDefinition.h"
#include "runtime/HomeThread.h"

#include <QList>
#include <QMutex>

#include <memory>

namespace eboNetworkExchange {

/// The network as a whole: a thread for the servers and connections, and a discoverer that tells of them.
/// Made and ended on one thread, usually the main one, whose event loop the discoverer's word comes by.
class Network : public AbstractNetwork {
    Q_OBJECT

public:
    /// Starts the network thread, which waits for start().
    Network(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer, QList<ServiceDefinition> definitions);

    /// As `end`, on whatever thread.
    ~Network() override;

    void start() override;

    /// Whether the system has given a thread, and `end` has not been called. Without it, nothing else works.
    [[nodiscard]] bool isUp() const { return thread_ && thread_->isRunning(); }

    /// Closes all connections, quits the network thread and waits for its end; whoever else still holds this
    /// object or something on its thread finds everything closed. Discovery goes on for as long as its object
    /// lives. Does nothing a second time.
    void end();
    [[nodiscard]] quint16 directoryPort() const override { return directoryPort_; }
    [[nodiscard]] ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer() const override;
    [[nodiscard]] QList<ebo::refptr<Host>> hosts() const override;
    [[nodiscard]] QThread* networkThread() const override { return thread_.get(); }

protected Q_SLOTS:
    void onHostAdded(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onHostRemoved(const ebo::refptr<eboNetworkExchange::Host>& host);

private:
    std::unique_ptr<NetworkThreadHelper> helper_;
    std::unique_ptr<ebo::HomeThread> thread_;
    const ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer_;
    quint16 directoryPort_ = 0;
    QList<ebo::refptr<Host>> hosts_;  // guarded by mutex_
    mutable QMutex mutex_;
};

}  // namespace eboNetworkExchange
