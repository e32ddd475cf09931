#pragma once

#include "network/discovery/Host.h"
#include "network/exchange/Service.h"
#include "network/exchange/ThreadCalls.h"
#include "network/exchange/addressPairs.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QTcpSocket>
#include <QTimer>
#include <QUuid>

#include <atomic>
#include <map>
#include <memory>

namespace eboNetworkExchange {

/// Another device as this process is joined to it: the directory connections with their pings, and its
/// services.
///
/// Lives on the network thread; what is const may be asked on any. What discovery knows of the device is
/// looked up there, and empty or 0 once it has forgotten it.
class Host : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    Host(const ebo::refptr<eboDiscoverer::Host>& discoveryHost, const QUuid& localUuid,
         std::shared_ptr<ThreadCalls> calls);
    ~Host() override;

    [[nodiscard]] const QUuid& uuid() const { return remoteUuid_; }
    [[nodiscard]] QString name() const;
    [[nodiscard]] QString applicationId() const;
    [[nodiscard]] QString applicationVersion() const;
    [[nodiscard]] QList<QHostAddress> addresses() const;

    /// Whether discovery hears it at this address now.
    [[nodiscard]] bool isHeardFrom(const QHostAddress& address) const;

    /// When it was first heard: milliseconds on a clock that all devices here share.
    [[nodiscard]] qint64 heardSince() const { return heardSince_; }

    /// TCP port of the device's directory server, 0 if it has none.
    [[nodiscard]] quint16 port() const;

    /// Nanoseconds to and fro by the fastest address; -1 if not known.
    [[nodiscard]] qint64 ping() const;

    /// Whether it has an identified directory connection and discovery still hears it.
    [[nodiscard]] bool isConnected() const;

    /// Takes an identified directory connection, in place of another one between the same addresses.
    void addSocket(QTcpSocket* socket);

    /// Closes a directory connection; its owner deletes it.
    void removeSocket(QTcpSocket* socket);
    [[nodiscard]] bool holds(QTcpSocket* socket) const;
    [[nodiscard]] QList<QTcpSocket*> directorySockets() const;

    /// Stores the ping of a directory connection in nanoseconds, and brings those of the addresses up to
    /// date.
    void setPing(QTcpSocket* socket, qint64 nanoseconds);
    void updatePings();

    /// Ends of the directory connection with the lowest ping. One that has not been measured counts as the
    /// lowest of all; without a connection both ends are null.
    [[nodiscard]] AddressPair lowestPingWay() const;

    /// Without connections the services go; with one, they are read.
    void setConnected(bool connected);

    struct FoundService {
        ebo::refptr<Service> service;
        bool made;
    };

    /// The service of that id, which keeps its port; made if there is none.
    FoundService findOrMakeService(const QString& serviceId, quint16 port);
    [[nodiscard]] ebo::refptr<Service> service(const QString& serviceId) const;
    [[nodiscard]] QList<ebo::refptr<Service>> services() const;

    /// Tells serviceBroadcast.
    void broadcastServices();

    /// Closes everything: the device has gone, or the network ends.
    void shutDown();

Q_SIGNALS:
    void isConnectedChanged(ebo::refptr<eboNetworkExchange::Host> host);
    void pingChanged(ebo::refptr<eboNetworkExchange::Host> host);
    void numberOfDirectorySocketsChanged(ebo::refptr<eboNetworkExchange::Host> host);
    void addressChanged();

    /// It has been heard, once or often since the last time: beacons that come thick and fast are told as
    /// one.
    void beacon();
    void servicesChanged(ebo::refptr<eboNetworkExchange::Host> host);
    void serviceIsReadyChanged(ebo::refptr<eboNetworkExchange::Host> host);
    void serviceBroadcast(ebo::refptr<eboNetworkExchange::Host> host);
    void serviceBecameUnready(ebo::refptr<eboNetworkExchange::Host> host);

private Q_SLOTS:
    void onPingChanged();
    void onServiceIsReadyChanged(const ebo::refptr<eboNetworkExchange::Service>& service);
    void onAddressesChanged();

private:
    static constexpr qint64 kUnknownPing = eboDiscoverer::HostAddressHelper::kUnknownPing;

    void listenTo(const eboDiscoverer::Host& discoveryHost);
    void onBeacon();
    void tellBeacon();
    void dropServices();

    /// Shared with the discovery thread: a beacon has come that has not been told.
    using Mark = std::shared_ptr<std::atomic<bool>>;

    std::atomic<bool> connected_{false};
    const qint64 heardSince_;
    const Mark isBeaconDue_ = std::make_shared<std::atomic<bool>>(false);
    QElapsedTimer sinceBeacon_;
    QTimer beaconTimer_;
    const QUuid remoteUuid_;
    const QUuid localUuid_;
    const ebo::weakptr<eboDiscoverer::Host> discoveryHost_;
    const std::shared_ptr<ThreadCalls> calls_;
    mutable QMutex mutex_;
    QMap<QString, ebo::refptr<Service>> services_;  // guarded by mutex_
    std::map<QTcpSocket*, qint64> sockets_;         // to ping; guarded by mutex_
};

QDebug operator<<(QDebug debug, const Host& host);

}  // namespace eboNetworkExchange
