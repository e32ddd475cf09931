#include "network/exchange/DirectoryServer.h"

#include "network/discovery/sameAddress.h"
#include "network/exchange/NetworkExchange.h"
#include "runtime/logCategories.h"

#include <QMutexLocker>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

namespace {

using eboDiscoverer::sameAddress;

/// Whether a peer does not read what it is sent.
bool isDeaf(const QTcpSocket& socket) { return socket.bytesToWrite() > DirectoryServer::kMostUnread; }

bool send(QTcpSocket* socket, const DirectoryMessage& message)
{
    socket->write(toBytes(message));
    return socket->flush();
}

}  // namespace

DirectoryServer::DirectoryServer(const QUuid& localUuid, ebo::weakptr<NetworkExchange> exchange,
                                 std::shared_ptr<ThreadCalls> calls)
    : localUuid_(localUuid), exchange_(std::move(exchange)), calls_(std::move(calls)),
      pingTimer_(std::make_unique<QTimer>())
{
    qCInfo(ebo::log::networkConnection) << "Local Uuid:" << localUuid_;
    connect(pingTimer_.get(), &QTimer::timeout, this, &DirectoryServer::onPingTimerTimeout);
    pingTimer_->start(kPingMilliseconds);
    clock_.start();
    connect(this, &QTcpServer::newConnection, this, &DirectoryServer::onNewConnection);
}

DirectoryServer::~DirectoryServer() = default;

void DirectoryServer::shutDown()
{
    close();
    pingTimer_.reset();
    disconnect(this, nullptr, nullptr, nullptr);
    QList<ebo::refptr<Host>> leaving;
    {
        const QMutexLocker locker(&mutex_);
        leaving.swap(hosts_);
    }
    for (const auto& host : leaving) {
        disconnect(host.get(), nullptr, this, nullptr);
        host->setConnected(false);
        host->shutDown();
    }
    waiting_.clear();

    QList<QTcpSocket*> sockets = std::exchange(directorySockets_, {}) + std::exchange(unassignedSockets_, {});
    for (const auto& [socket, target] : std::exchange(connecting_, {}))
        sockets.append(socket);
    for (QTcpSocket* const socket : sockets) {
        disconnect(socket, nullptr, this, nullptr);
        socket->disconnectFromHost();
        socket->deleteLater();
    }
}

ebo::refptr<Host> DirectoryServer::find(const QUuid& uuid) const
{
    const QMutexLocker locker(&mutex_);
    for (const auto& host : hosts_) {
        if (host->uuid() == uuid)
            return host;
    }
    return nullptr;
}

QList<ebo::refptr<Host>> DirectoryServer::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_;
}

QList<ExistingConnection> DirectoryServer::connections() const
{
    QList<ExistingConnection> result;
    for (const QTcpSocket* const socket : directorySockets_)
        result.append({socket->localAddress(), socket->peerAddress(), socket->peerPort()});
    return result;
}

// Making connections.

void DirectoryServer::connectHost(Host& host)
{
    const QList<LocalEntry> entries = localEntries();
    if (localUuid_ < host.uuid()) {
        connectDirectory(host, entries);
        for (const auto& service : host.services())
            service->connectStreams(host.addresses(), entries);
    }
    closeStaleSockets(entries);
}

void DirectoryServer::connectDirectory(Host& host, const QList<LocalEntry>& entries)
{
    const quint16 port = host.port();
    if (port == 0)
        return;
    for (const AddressPair& pair : addressPairs(host.addresses(), port, connections(), entries)) {
        qCDebug(ebo::log::networkDirectory) << "Connecting to host:" << pair.remote;
        const bool isUnderWay = std::any_of(connecting_.begin(), connecting_.end(), [&](const auto& entry) {
            const Target& target = entry.second;
            return target.port == port && sameAddress(target.pair.remote, pair.remote) &&
                   sameAddress(target.pair.local, pair.local);
        });
        if (isUnderWay) {
            qCDebug(ebo::log::networkDirectory)
                << "Stopped connection attempt. Host already has connecting socket";
            continue;
        }
        QTcpSocket* const socket = boundSocket(pair.local, this);
        if (socket == nullptr)
            continue;
        connecting_.emplace(socket, Target{pair, port});
        connect(socket, &QTcpSocket::connected, this, &DirectoryServer::onSocketConnected);
        connect(socket, &QTcpSocket::errorOccurred, this, &DirectoryServer::onSocketError);
        socket->connectToHost(pair.remote, port);
    }
}

void DirectoryServer::closeStaleSockets(const QList<LocalEntry>& entries)
{
    constexpr int kFewest = 2;  // the last connection is kept, wherever it comes from
    if (directorySockets_.size() < kFewest)
        return;
    const QList<QTcpSocket*> sockets = directorySockets_;
    for (QTcpSocket* const socket : sockets) {
        if (!isLocal(socket->localAddress(), entries))
            socket->disconnectFromHost();
    }
}

void DirectoryServer::onSocketConnected()
{
    auto* const socket = qobject_cast<QTcpSocket*>(sender());
    if (socket == nullptr)
        return;
    qCInfo(ebo::log::networkConnection)
        << "Connected to host:" << socket->peerAddress() << "via" << socket->localAddress();
    onNewSocket(socket);
    connecting_.erase(socket);
}

void DirectoryServer::onNewConnection()
{
    while (QTcpSocket* const socket = nextPendingConnection()) {
        qCInfo(ebo::log::networkConnection) << "New Connection:" << socket->peerAddress();
        makeRoom();
        onNewSocket(socket);
    }
}

void DirectoryServer::onNewSocket(QTcpSocket* socket)
{
    directorySockets_.append(socket);
    Q_EMIT numberOfDirectorySocketsChanged(directorySockets_.size());
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(socket, &QTcpSocket::readyRead, this, &DirectoryServer::onReadyRead);
    connect(socket, &QTcpSocket::disconnected, this, &DirectoryServer::onSocketDisconnected);

    DirectoryMessage message;
    message.type = DirectoryMessage::kWhois;
    message.hostUuid = localUuid_;
    if (!send(socket, message))
        qCWarning(ebo::log::networkDirectory)
            << "onNewSocket: Unable to flush socket. Socket state is:" << socket->state();
}

void DirectoryServer::onCheckConnections()
{
    if (auto* const host = qobject_cast<Host*>(sender()))
        connectHost(*host);
}

// Losing them.

void DirectoryServer::forget(QTcpSocket* socket)
{
    waiting_.remove(socket);
    disconnect(socket, nullptr, this, nullptr);
    // Whoever claims several names is held under each of them.
    for (const auto& host : hosts()) {
        if (host->holds(socket))
            host->removeSocket(socket);
    }
    directorySockets_.removeOne(socket);
    Q_EMIT numberOfDirectorySocketsChanged(directorySockets_.size());
    socket->deleteLater();
}

void DirectoryServer::dropBroken(QTcpSocket* socket)
{
    qCWarning(ebo::log::networkDirectory) << "Found broken socket.";
    forget(socket);
    socket->abort();
}

void DirectoryServer::makeRoom()
{
    if (directorySockets_.size() < kMostDirectorySockets)
        return;
    const QList<ebo::refptr<Host>> known = hosts();
    const auto isStranger = [&known](QTcpSocket* socket) {
        return std::none_of(known.begin(), known.end(),
                            [socket](const auto& host) { return host->holds(socket); });
    };
    const auto oldest = std::find_if(directorySockets_.cbegin(), directorySockets_.cend(), isStranger);
    if (oldest != directorySockets_.cend())
        dropBroken(*oldest);
}

void DirectoryServer::onSocketDisconnected()
{
    auto* const socket = qobject_cast<QTcpSocket*>(sender());
    if (socket == nullptr)
        return;
    qCInfo(ebo::log::networkConnection) << "Socket Disconnected:" << socket->peerAddress();
    forget(socket);
}

void DirectoryServer::onSocketError(QAbstractSocket::SocketError socketError)
{
    auto* const socket = qobject_cast<QTcpSocket*>(sender());
    if (socket == nullptr)
        return;
    qCWarning(ebo::log::networkConnection)
        << "Socket error:" << socket->peerAddress() << "(local address:" << socket->localAddress()
        << ") Error:" << socketError;
    // An established connection that ends says `disconnected` next, which finds it in the lists.
    if (connecting_.erase(socket) != 0)
        socket->deleteLater();
}

void DirectoryServer::onPingTimerTimeout()
{
    bool lost = false;
    const QList<QTcpSocket*> sockets = directorySockets_;
    for (QTcpSocket* const socket : sockets) {
        if (!directorySockets_.contains(socket))
            continue;  // lost on the way
        if (!socket->isOpen() || socket->state() != QAbstractSocket::ConnectedState ||
            !socket->isWritable() || isDeaf(*socket)) {
            dropBroken(socket);
            lost = true;
        } else if (!sendPing(socket)) {
            qCWarning(ebo::log::networkDirectory) << "onPingTimerTimeout: Unable to flush socket.";
            if (directorySockets_.contains(socket)) {
                forget(socket);
                socket->abort();
            }
            lost = true;
        }
    }
    if (!lost)
        return;
    for (const auto& host : hosts())
        connectHost(*host);
}

bool DirectoryServer::sendPing(QTcpSocket* socket) const
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kPing;
    message.hostUuid = localUuid_;
    message.timeStamp = clock_.nsecsElapsed();
    return send(socket, message);
}

// Messages.

void DirectoryServer::onReadyRead()
{
    const QPointer<QTcpSocket> socket = qobject_cast<QTcpSocket*>(sender());
    while (socket && directorySockets_.contains(socket) && socket->bytesAvailable() > 0) {
        // A message that came in pieces is lost: nothing tells where the next one begins. They are small,
        // sent whole and with low delay.
        if (const auto message = takeMessage(*socket))
            receive(*message, socket);
        // Answers to one who asks and never reads would pile up.
        if (socket && directorySockets_.contains(socket) && isDeaf(*socket))
            dropBroken(socket);
    }
}

void DirectoryServer::receive(const DirectoryMessage& message, QTcpSocket* socket)
{
    qCDebug(ebo::log::networkDirectory) << "Message received:" << message;
    switch (message.type) {
    case DirectoryMessage::kWhois:
        receiveWhois(message, socket);
        break;
    case DirectoryMessage::kPing:
        receivePing(message, socket);
        break;
    case DirectoryMessage::kServiceInfo:
        receiveServiceInfo(message);
        break;
    default:
        break;
    }
}

void DirectoryServer::receiveWhois(const DirectoryMessage& message, QTcpSocket* socket)
{
    const ebo::refptr<Host> host = find(message.hostUuid);
    if (!host) {
        waiting_.add(message.hostUuid, socket);
        return;
    }
    host->addSocket(socket);
    sendServiceInfo(*host, socket);
}

void DirectoryServer::receivePing(DirectoryMessage message, QTcpSocket* socket)
{
    if (message.hostUuid == localUuid_) {
        // The echo of our own. What came back as time stamp may be anything.
        const auto now = static_cast<quint64>(clock_.nsecsElapsed());
        const auto ping = static_cast<qint64>(now - static_cast<quint64>(message.timeStamp));
        if (const ebo::refptr<Host> host = find(message.responderUuid))
            host->setPing(socket, ping);
        return;
    }
    message.responderUuid = localUuid_;
    if (!send(socket, message))
        qCWarning(ebo::log::networkDirectory)
            << "Ping send: Unable to flush socket. Socket state is:" << socket->state();
}

void DirectoryServer::receiveServiceInfo(const DirectoryMessage& message)
{
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    if (!exchange || !exchange->offers(message.serviceId))
        return;
    const ebo::refptr<Host> host = find(message.hostUuid);
    if (!host || host->uuid() < localUuid_)
        return;
    const auto [service, made] = host->findOrMakeService(message.serviceId, message.port);
    const QList<LocalEntry> entries = localEntries();
    service->connectStreams(host->addresses(), entries);
    service->closeStaleStreams(entries);
    if (made)
        Q_EMIT host->servicesChanged(host);
}

void DirectoryServer::sendServiceInfo(const Host& host, QTcpSocket* socket) const
{
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    if (!exchange || !(host.uuid() < localUuid_))
        return;
    for (const auto& server : exchange->serviceServers()) {
        DirectoryMessage message;
        message.type = DirectoryMessage::kServiceInfo;
        message.hostUuid = localUuid_;
        message.serviceId = server->serviceId();
        message.port = server->serverPort();
        if (!send(socket, message))
            qCWarning(ebo::log::networkDirectory)
                << "onNewConnection: Unable to flush socket. Socket state is:" << socket->state();
    }
}

// Connections of services that come in.

void DirectoryServer::onServiceRequest(const QString& /*serviceId*/, QTcpSocket* socket)
{
    if (unassignedSockets_.size() >= kMostUnassigned)
        dropUnassigned(unassignedSockets_.first());
    socket->setParent(this);
    unassignedSockets_.append(socket);
    connect(socket, &QTcpSocket::readyRead, this, &DirectoryServer::onUnassignedServiceSocketReadyRead);
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] { dropUnassigned(socket); });
    readOpening(socket);
}

void DirectoryServer::onUnassignedServiceSocketReadyRead()
{
    if (auto* const socket = qobject_cast<QTcpSocket*>(sender()))
        readOpening(socket);
}

void DirectoryServer::readOpening(QTcpSocket* socket)
{
    // Awaited whole: behind it come the packets of the stream, which are not to be touched.
    while (socket->bytesAvailable() > 0) {
        const auto parsed = parseMessage(socket->peek(kLongestOpening));
        if (!parsed) {
            if (socket->bytesAvailable() >= kLongestOpening)
                dropUnassigned(socket);
            return;
        }
        socket->read(parsed->size);
        if (parsed->message.type == DirectoryMessage::kServiceInfo) {
            openStream(parsed->message, socket);
            return;
        }
    }
}

void DirectoryServer::openStream(const DirectoryMessage& message, QTcpSocket* socket)
{
    const ebo::refptr<Host> host = find(message.hostUuid);
    if (!host) {
        qCWarning(ebo::log::networkDirectory) << "Couldn't find host:" << message.hostUuid;
        dropUnassigned(socket);
        return;
    }
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    if (!exchange || !exchange->offers(message.serviceId)) {
        dropUnassigned(socket);
        return;
    }
    disconnect(socket, nullptr, this, nullptr);
    unassignedSockets_.removeOne(socket);
    const auto [service, made] = host->findOrMakeService(message.serviceId, 0);
    service->addStream(socket);
    if (made)
        Q_EMIT host->servicesChanged(host);
}

void DirectoryServer::dropUnassigned(QTcpSocket* socket)
{
    disconnect(socket, nullptr, this, nullptr);
    unassignedSockets_.removeOne(socket);
    socket->abort();
    socket->deleteLater();
}

// Devices come and go.

void DirectoryServer::onHostAdded(const ebo::refptr<eboDiscoverer::Host>& discoveryHost)
{
    if (!pingTimer_)
        return;  // a late word from discovery
    const auto host = ebo::makeRef<Host>(discoveryHost, localUuid_, calls_);
    {
        const QMutexLocker locker(&mutex_);
        hosts_.append(host);
    }
    connect(host.get(), &Host::beacon, this, &DirectoryServer::onCheckConnections);
    connect(host.get(), &Host::serviceBecameUnready, this, &DirectoryServer::onHostServiceBecameUnready);
    for (QTcpSocket* const socket : waiting_.take(host->uuid())) {
        host->addSocket(socket);
        sendServiceInfo(*host, socket);
    }
    connectHost(*host);
    qCDebug(ebo::log::networkDirectory) << "Host added:" << *host;
    Q_EMIT hostAdded(host);
}

void DirectoryServer::onHostRemoved(const ebo::refptr<eboDiscoverer::Host>& discoveryHost)
{
    const ebo::refptr<Host> host = find(discoveryHost->uuid());
    if (!host)
        return;
    qCDebug(ebo::log::networkDirectory) << "Host removed:" << *host;
    {
        const QMutexLocker locker(&mutex_);
        hosts_.removeOne(host);
    }
    host->setConnected(false);
    Q_EMIT hostRemoved(host);
    host->setConnected(false);
    disconnect(host.get(), nullptr, this, nullptr);
    host->shutDown();
}

void DirectoryServer::onHostServiceBecameUnready(const ebo::refptr<Host>& host)
{
    if (find(host->uuid()) != host)
        return;
    qCInfo(ebo::log::networkDirectory)
        << "Service of host" << host->uuid() << "became unready, resending service info.";
    for (QTcpSocket* const socket : host->directorySockets())
        sendServiceInfo(*host, socket);
}

}  // namespace eboNetworkExchange
