#include "network/exchange/DirectoryServer.h"

#include "network/exchange/NetworkExchange.h"
#include "runtime/logCategories.h"

#include <QMutexLocker>

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

namespace {

/// Of an attempt, or of an established connection, which says `disconnected` next.
void logError(const QTcpSocket& socket, QAbstractSocket::SocketError error)
{
    qCWarning(ebo::log::networkConnection)
        << "Socket error:" << socket.peerAddress() << "(local address:" << socket.localAddress()
        << ") Error:" << error;
}

/// Hosts that ask to be looked at are gathered for so long. Milliseconds.
constexpr int kGather = 20;

}  // namespace

DirectoryServer::DirectoryServer(const QUuid& localUuid, ebo::weakptr<NetworkExchange> exchange,
                                 std::shared_ptr<ThreadCalls> calls,
                                 std::shared_ptr<eboDiscoverer::LocalAddresses> addresses)
    : localUuid_(localUuid), exchange_(std::move(exchange)), calls_(std::move(calls)),
      addresses_(std::move(addresses)),
      connector_(budget_, [this](const QHostAddress& peer) { return makeRoom(peer); }), connections_(budget_),
      openings_(budget_), checkTimer_(this), pingTimer_(std::make_unique<QTimer>())
{
    qCInfo(ebo::log::networkConnection) << "Local Uuid:" << localUuid_;
    connect(pingTimer_.get(), &QTimer::timeout, this, &DirectoryServer::onPingTimerTimeout);
    pingTimer_->setTimerType(Qt::PreciseTimer);
    pingTimer_->start(kPingMilliseconds);
    clock_.start();
    checkTimer_.setSingleShot(true);
    checkTimer_.setInterval(kGather);
    connect(&checkTimer_, &QTimer::timeout, this, &DirectoryServer::onChecksDue);
    connect(this, &Server::connectionsWait, this, &DirectoryServer::onNewConnection);
    connect(&connections_, &DirectoryConnections::received, this, &DirectoryServer::receive);
    connect(&connections_, &DirectoryConnections::lost, this, &DirectoryServer::onLost);
    connect(&connections_, &DirectoryConnections::countChanged, this,
            &DirectoryServer::numberOfDirectorySocketsChanged);
    connect(&openings_, &ServiceOpenings::opened, this, &DirectoryServer::openStream);
}

DirectoryServer::~DirectoryServer() = default;

void DirectoryServer::shutDown()
{
    stopListening();
    pingTimer_.reset();
    checkTimer_.stop();
    disconnect(this, nullptr, nullptr, nullptr);
    connector_.giveUpAll();
    QMap<QUuid, ebo::refptr<Host>> leaving;
    {
        const QMutexLocker locker(&mutex_);
        leaving.swap(hosts_);
    }
    for (const auto& host : leaving) {
        disconnect(host.get(), nullptr, this, nullptr);
        host->setConnected(false);
        host->shutDown();
    }
    connections_.closeAll();
    openings_.closeAll();
}

ebo::refptr<Host> DirectoryServer::find(const QUuid& uuid) const
{
    const QMutexLocker locker(&mutex_);
    return hosts_.value(uuid);
}

QList<ebo::refptr<Host>> DirectoryServer::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_.values();
}

// Making connections.

void DirectoryServer::check(const Host& host)
{
    unchecked_.insert(host.uuid());
    if (!checkTimer_.isActive() && pingTimer_)
        checkTimer_.start();
}

void DirectoryServer::onChecksDue()
{
    for (const QUuid& uuid : std::exchange(unchecked_, {})) {
        if (const ebo::refptr<Host> host = find(uuid))
            connectHost(*host);
    }
}

void DirectoryServer::connectHost(Host& host)
{
    const auto entries = addresses_->entries();
    if (!entries)
        return;  // not known at the moment: nothing is concluded from that
    if (connectsTo(localUuid_, host.uuid())) {
        connectDirectory(host, *entries);
        for (const auto& service : host.services()) {
            service->connectStreams(connector_, host.addresses(), *entries);
            service->closeStaleStreams(*entries);
        }
    }
    connections_.closeStale(*entries);
}

void DirectoryServer::connectDirectory(Host& host, const QList<LocalEntry>& entries)
{
    const quint16 port = host.port();
    if (port == 0)
        return;
    for (const AddressPair& pair : addressPairs(host.addresses(), port, connections_.ends(), entries)) {
        qCDebug(ebo::log::networkDirectory) << "Connecting to host:" << pair.remote;
        const auto connected = [this, meant = host.uuid()](QTcpSocket* socket) {
            qCInfo(ebo::log::networkConnection)
                << "Connected to host:" << socket->peerAddress() << "via" << socket->localAddress();
            onNewSocket(socket, meant);
        };
        const bool isNew =
            connector_.connectTo({&host, {pair, port}, host.heardSince(), connected, logError});
        if (!isNew)
            qCDebug(ebo::log::networkDirectory)
                << "Stopped connection attempt. Host already has connecting socket";
    }
}

void DirectoryServer::onNewConnection()
{
    while (QTcpSocket* const socket = nextConnection()) {
        qCInfo(ebo::log::networkConnection) << "New Connection:" << socket->peerAddress();
        if (makeRoom(socket->peerAddress())) {
            onNewSocket(socket, QUuid());
        } else {
            socket->abort();
            socket->deleteLater();
        }
    }
}

void DirectoryServer::onNewSocket(QTcpSocket* socket, const QUuid& meant)
{
    DirectoryConnection& connection = connections_.add(socket, meant);
    if (connection.direction() == Direction::kOutgoing)
        connect(socket, &QTcpSocket::errorOccurred, &connection,
                [socket](QAbstractSocket::SocketError error) { logError(*socket, error); });

    DirectoryMessage message;
    message.type = DirectoryMessage::kWhois;
    message.hostUuid = localUuid_;
    if (!connection.send(message))
        qCWarning(ebo::log::networkDirectory)
            << "onNewSocket: Unable to flush socket. Socket state is:" << socket->state();
}

void DirectoryServer::onCheckConnections()
{
    auto* const host = qobject_cast<Host*>(sender());
    if (host == nullptr)
        return;
    identifyWaiting(*host);
    check(*host);
}

// Losing them.

void DirectoryServer::onLost(const DirectoryConnection* connection)
{
    // Whoever claims several names is held under each of them.
    for (const auto& host : hosts()) {
        if (host->holds(connection->socket()))
            host->removeSocket(connection->socket());
    }
}

bool DirectoryServer::makeRoom(const QHostAddress& peer)
{
    const bool isPeerAtLimit = budget_.isFullFor(peer);
    if (!isPeerAtLimit && !budget_.isFull())
        return true;
    const QHostAddress* const of = isPeerAtLimit ? &peer : nullptr;
    return openings_.dropOldest(of) || connections_.dropStranger(of);
}

void DirectoryServer::onPingTimerTimeout()
{
    DirectoryMessage message;
    message.type = DirectoryMessage::kPing;
    message.hostUuid = localUuid_;
    message.timeStamp = clock_.nsecsElapsed();
    if (!connections_.sendToAll(message))
        return;
    for (const auto& host : hosts())
        check(*host);
}

// What is said on them.

void DirectoryServer::receive(DirectoryConnection* connection, const DirectoryMessage& message)
{
    qCDebug(ebo::log::networkDirectory) << "Message received:" << message;
    switch (message.type) {
    case DirectoryMessage::kWhois:
        receiveWhois(message, *connection);
        break;
    case DirectoryMessage::kPing:
        receivePing(message, *connection);
        break;
    case DirectoryMessage::kServiceInfo:
        receiveServiceInfo(message, *connection);
        break;
    default:
        break;
    }
}

void DirectoryServer::receiveWhois(const DirectoryMessage& message, DirectoryConnection& connection)
{
    if (!isCredible(localUuid_, message.hostUuid, connection.direction())) {
        qCDebug(ebo::log::networkDirectory)
            << "Nobody of that name can be at this end:" << message.hostUuid << connection.peer();
        return;
    }
    connection.setClaim(message.hostUuid);
    identify(connection);
}

/// Lets a connection be that of the device it claims to be, as soon as discovery hears that device there.
void DirectoryServer::identify(DirectoryConnection& connection)
{
    const ebo::refptr<Host> host = find(connection.claim());
    if (!host || !host->isHeardFrom(connection.peer())) {
        // Whom we have connected to was heard there; what it says next would be lost.
        if (connection.direction() == Direction::kOutgoing)
            connections_.dropBroken(&connection);
        return;
    }
    connection.confirmClaim();
    host->addSocket(connection.socket());
    sendServiceInfo(*host, connection);
}

void DirectoryServer::identifyWaiting(const Host& host)
{
    for (DirectoryConnection* const connection : connections_.claiming(host.uuid()))
        identify(*connection);
}

void DirectoryServer::receivePing(DirectoryMessage message, DirectoryConnection& connection)
{
    if (message.hostUuid == localUuid_) {
        // The echo of our own. What came back as time stamp may be anything.
        const auto now = static_cast<quint64>(clock_.nsecsElapsed());
        const auto ping = static_cast<qint64>(now - static_cast<quint64>(message.timeStamp));
        if (const ebo::refptr<Host> host = find(message.responderUuid))
            host->setPing(connection.socket(), ping);
        return;
    }
    message.responderUuid = localUuid_;
    if (!connection.send(message))
        qCWarning(ebo::log::networkDirectory)
            << "Ping send: Unable to flush socket. Socket state is:" << connection.socket()->state();
}

void DirectoryServer::receiveServiceInfo(const DirectoryMessage& message,
                                         const DirectoryConnection& connection)
{
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    if (!exchange || !exchange->offers(message.serviceId))
        return;
    const ebo::refptr<Host> host = find(message.hostUuid);
    if (!host || !connectsTo(localUuid_, host->uuid()))
        return;
    if (!host->holds(connection.socket())) {
        qCDebug(ebo::log::networkDirectory)
            << "Service of" << host->uuid() << "announced by somebody else:" << connection.peer();
        return;
    }
    const auto [service, made] = host->findOrMakeService(message.serviceId, message.port);
    check(*host);
    if (made)
        Q_EMIT host->servicesChanged(host);
}

void DirectoryServer::sendServiceInfo(const Host& host, DirectoryConnection& connection) const
{
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    if (!exchange || !connectsTo(host.uuid(), localUuid_))
        return;
    for (const auto& server : exchange->serviceServers()) {
        DirectoryMessage message;
        message.type = DirectoryMessage::kServiceInfo;
        message.hostUuid = localUuid_;
        message.serviceId = server->serviceId();
        message.port = server->serverPort();
        if (!connection.send(message))
            qCWarning(ebo::log::networkDirectory)
                << "onNewConnection: Unable to flush socket. Socket state is:"
                << connection.socket()->state();
    }
}

// Connections of services that come in.

void DirectoryServer::onServiceRequest(const QString& /*serviceId*/, QTcpSocket* socket)
{
    if (pingTimer_ && makeRoom(socket->peerAddress())) {
        openings_.add(socket);
        return;
    }
    socket->abort();
    socket->deleteLater();
}

void DirectoryServer::openStream(ServiceOpening* opening, const DirectoryMessage& message)
{
    const ebo::refptr<Host> host = find(message.hostUuid);
    if (!host) {
        qCWarning(ebo::log::networkDirectory) << "Couldn't find host:" << message.hostUuid;
        openings_.drop(opening);
        return;
    }
    const ebo::refptr<NetworkExchange> exchange = exchange_.promote();
    const bool isItself =
        isCredible(localUuid_, host->uuid(), Direction::kIncoming) && host->isHeardFrom(opening->peer());
    if (!isItself)
        qCWarning(ebo::log::networkDirectory)
            << "Service connection in the name of another:" << message.hostUuid << opening->peer();
    if (!isItself || !exchange || !exchange->offers(message.serviceId)) {
        openings_.drop(opening);
        return;
    }
    const auto [service, made] = host->findOrMakeService(message.serviceId, 0);
    service->addStream(openings_.take(opening));
    if (made)
        Q_EMIT host->servicesChanged(host);
}

// Devices come and go.

void DirectoryServer::onHostAdded(const ebo::refptr<eboDiscoverer::Host>& discoveryHost)
{
    if (!pingTimer_)
        return;  // a late word from discovery
    const auto host = ebo::makeRef<Host>(discoveryHost, localUuid_, calls_);
    {
        const QMutexLocker locker(&mutex_);
        hosts_.insert(host->uuid(), host);
    }
    connect(host.get(), &Host::beacon, this, &DirectoryServer::onCheckConnections);
    connect(host.get(), &Host::addressChanged, this, &DirectoryServer::onCheckConnections);
    connect(host.get(), &Host::serviceBecameUnready, this, &DirectoryServer::onHostServiceBecameUnready);
    identifyWaiting(*host);
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
        hosts_.remove(host->uuid());
    }
    // After an outage, a new attempt is answered long before one that has been waiting all the time.
    connector_.giveUp(host.get());
    connections_.dropStrangersMeantFor(host->uuid());
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
    for (const QTcpSocket* const socket : host->directorySockets()) {
        if (DirectoryConnection* const connection = connections_.find(socket))
            sendServiceInfo(*host, *connection);
    }
}

}  // namespace eboNetworkExchange
