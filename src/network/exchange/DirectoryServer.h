#pragma once

#include "network/discovery/Host.h"
#include "network/discovery/LocalAddresses.h"
#include "network/exchange/Connector.h"
#include "network/exchange/DirectoryConnections.h"
#include "network/exchange/DirectoryMessage.h"
#include "network/exchange/Host.h"
#include "network/exchange/Server.h"
#include "network/exchange/ServiceOpenings.h"
#include "network/exchange/SocketBudget.h"
#include "network/exchange/ThreadCalls.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QElapsedTimer>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QSet>
#include <QTimer>
#include <QUuid>

#include <memory>

namespace eboNetworkExchange {

class NetworkExchange;

/// Joins this device to those that discovery hears: one directory connection for every pair of addresses that
/// share a subnet, over which they say who they are, measure the way and announce services.
///
/// Of two devices the one with the lower uuid makes all connections, and the one with the higher uuid
/// announces services; so they never connect twice. Connections that fail or end are made again with the
/// device's next beacon. Lives on the network thread.
///
/// Whoever connects is a stranger until it has said who it is, its uuid is one that may have made the
/// connection, and discovery hears that device at the connection's address. Only then does what it says
/// count, and only for that device. Where room is short, strangers go first.
class DirectoryServer : public Server, public ebo::refcounted {
    Q_OBJECT

public:
    static constexpr int kPingMilliseconds = 5000;

    /// @param addresses  of this device; of the network thread
    DirectoryServer(const QUuid& localUuid, ebo::weakptr<NetworkExchange> exchange,
                    std::shared_ptr<ThreadCalls> calls,
                    std::shared_ptr<eboDiscoverer::LocalAddresses> addresses);
    ~DirectoryServer() override;

    /// Stops listening, closes every connection and forgets every device, without signals to the outside.
    /// What has been closed goes by the event loop; this object has to outlive it.
    void shutDown();

    /// Connections of all kinds, with whomever.
    [[nodiscard]] const SocketBudget& socketBudget() const { return budget_; }

public Q_SLOTS:
    void onHostAdded(const ebo::refptr<eboDiscoverer::Host>& discoveryHost);
    void onHostRemoved(const ebo::refptr<eboDiscoverer::Host>& discoveryHost);

    /// A service server has accepted a connection, whose sender has not said yet who it is.
    void onServiceRequest(const QString& serviceId, QTcpSocket* socket);
    void onHostServiceBecameUnready(const ebo::refptr<eboNetworkExchange::Host>& host);

Q_SIGNALS:
    void hostAdded(ebo::refptr<eboNetworkExchange::Host> host);
    void hostRemoved(ebo::refptr<eboNetworkExchange::Host> host);
    void numberOfDirectorySocketsChanged(int numberOfDirectorySockets);

private Q_SLOTS:
    void onNewConnection();
    void onPingTimerTimeout();
    void onCheckConnections();

private:
    [[nodiscard]] ebo::refptr<Host> find(const QUuid& uuid) const;
    [[nodiscard]] QList<ebo::refptr<Host>> hosts() const;

    // Making connections.
    void check(const Host& host);
    void onChecksDue();
    void connectHost(Host& host);
    void connectDirectory(Host& host, const QList<LocalEntry>& entries);
    void onNewSocket(QTcpSocket* socket, const QUuid& meant);
    [[nodiscard]] bool makeRoom(const QHostAddress& peer);
    void onLost(const DirectoryConnection* connection);

    // What is said on them.
    void receive(DirectoryConnection* connection, const DirectoryMessage& message);
    void receiveWhois(const DirectoryMessage& message, DirectoryConnection& connection);
    void receivePing(DirectoryMessage message, DirectoryConnection& connection);
    void receiveServiceInfo(const DirectoryMessage& message, const DirectoryConnection& connection);
    void identify(DirectoryConnection& connection);
    void identifyWaiting(const Host& host);
    void sendServiceInfo(const Host& host, DirectoryConnection& connection) const;
    void openStream(ServiceOpening* opening, const DirectoryMessage& message);

    const QUuid localUuid_;
    const ebo::weakptr<NetworkExchange> exchange_;
    const std::shared_ptr<ThreadCalls> calls_;
    const std::shared_ptr<eboDiscoverer::LocalAddresses> addresses_;
    SocketBudget budget_;
    Connector connector_;
    DirectoryConnections connections_;
    ServiceOpenings openings_;
    QMap<QUuid, ebo::refptr<Host>> hosts_;  // guarded by mutex_
    QSet<QUuid> unchecked_;                 // hosts whose connections may lack something
    QTimer checkTimer_;
    std::unique_ptr<QTimer> pingTimer_;  // null after the end
    QElapsedTimer clock_;
    mutable QMutex mutex_;
};

}  // namespace eboNetworkExchange
