#pragma once

#include "network/discovery/Host.h"
#include "network/exchange/DirectoryMessage.h"
#include "network/exchange/Host.h"
#include "network/exchange/Server.h"
#include "network/exchange/ThreadCalls.h"
#include "network/exchange/WaitingSockets.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QElapsedTimer>
#include <QList>
#include <QMutex>
#include <QTimer>
#include <QUuid>

#include <map>
#include <memory>

namespace eboNetworkExchange {

class NetworkExchange;

/// Joins this device to those that discovery hears: one directory connection for every pair of addresses that
/// share a subnet, over which they say who they are, measure the way and announce services.
///
/// Of two devices the one with the lower uuid makes all connections, and the one with the higher uuid
/// announces services; so they never connect twice. Connections that fail or end are made again with the
/// device's next beacon. Lives on the network thread.
class DirectoryServer : public Server, public ebo::refcounted {
    Q_OBJECT

public:
    static constexpr int kPingMilliseconds = 5000;

    /// A peer with more unread bytes than this does not read at all.
    static constexpr qint64 kMostUnread = 16 * 1024;

    /// What the first message of a service connection may need. Bytes.
    static constexpr qint64 kLongestOpening = 1024;

    /// Beyond these, the connection that has been a stranger's for the longest time goes: anybody can open
    /// them and say nothing.
    static constexpr int kMostDirectorySockets = 1024;
    static constexpr int kMostUnassigned = 256;

    DirectoryServer(const QUuid& localUuid, ebo::weakptr<NetworkExchange> exchange,
                    std::shared_ptr<ThreadCalls> calls);
    ~DirectoryServer() override;

    /// Stops listening, closes every connection and forgets every device, without signals to the outside.
    /// What has been closed goes by the event loop; this object has to outlive it.
    void shutDown();

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
    void onReadyRead();
    void onNewConnection();
    void onPingTimerTimeout();
    void onSocketConnected();
    void onSocketDisconnected();
    void onSocketError(QAbstractSocket::SocketError socketError);
    void onCheckConnections();
    void onUnassignedServiceSocketReadyRead();

private:
    struct Target {
        AddressPair pair;
        quint16 port;
    };

    [[nodiscard]] ebo::refptr<Host> find(const QUuid& uuid) const;
    [[nodiscard]] QList<ebo::refptr<Host>> hosts() const;
    [[nodiscard]] QList<ExistingConnection> connections() const;

    void connectHost(Host& host);
    void connectDirectory(Host& host, const QList<LocalEntry>& entries);
    void closeStaleSockets(const QList<LocalEntry>& entries);
    void onNewSocket(QTcpSocket* socket);
    void forget(QTcpSocket* socket);
    void dropBroken(QTcpSocket* socket);
    void makeRoom();

    void receive(const DirectoryMessage& message, QTcpSocket* socket);
    void receiveWhois(const DirectoryMessage& message, QTcpSocket* socket);
    void receivePing(DirectoryMessage message, QTcpSocket* socket);
    void receiveServiceInfo(const DirectoryMessage& message);
    void sendServiceInfo(const Host& host, QTcpSocket* socket) const;
    [[nodiscard]] bool sendPing(QTcpSocket* socket) const;

    void readOpening(QTcpSocket* socket);
    void openStream(const DirectoryMessage& message, QTcpSocket* socket);
    void dropUnassigned(QTcpSocket* socket);

    const QUuid localUuid_;
    const ebo::weakptr<NetworkExchange> exchange_;
    const std::shared_ptr<ThreadCalls> calls_;
    std::map<QTcpSocket*, Target> connecting_;
    QList<QTcpSocket*> directorySockets_;
    QList<QTcpSocket*> unassignedSockets_;  // of services
    WaitingSockets waiting_;                // have said who they are before discovery knew of them
    QList<ebo::refptr<Host>> hosts_;        // guarded by mutex_
    std::unique_ptr<QTimer> pingTimer_;     // null after the end
    QElapsedTimer clock_;
    mutable QMutex mutex_;
};

}  // namespace eboNetworkExchange
