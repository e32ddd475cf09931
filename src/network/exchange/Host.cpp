#include "network/exchange/Host.h"

#include "network/discovery/sameAddress.h"
#include "runtime/logCategories.h"

#include <QDeadlineTimer>
#include <QMutexLocker>

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

using eboDiscoverer::sameAddress;

Host::Host(const ebo::refptr<eboDiscoverer::Host>& discoveryHost, const QUuid& localUuid,
           std::shared_ptr<ThreadCalls> calls)
    : heardSince_(QDeadlineTimer::current().deadline()), beaconTimer_(this),
      remoteUuid_(discoveryHost->uuid()), localUuid_(localUuid), discoveryHost_(discoveryHost),
      calls_(std::move(calls))
{
    connect(discoveryHost.get(), &eboDiscoverer::Host::pingChanged, this, &Host::onPingChanged);
    connect(discoveryHost.get(), &eboDiscoverer::Host::addressesChanged, this, &Host::onAddressesChanged);
    beaconTimer_.setSingleShot(true);
    connect(&beaconTimer_, &QTimer::timeout, this, &Host::tellBeacon);
    listenTo(*discoveryHost);
}

/// Each beacon would be a word from thread to thread; the mark lets only one be on its way.
void Host::listenTo(const eboDiscoverer::Host& discoveryHost)
{
    const auto mark = [self = ebo::weakptr<Host>(this), isDue = isBeaconDue_] {
        if (isDue->exchange(true))
            return;
        if (const ebo::refptr<Host> host = self.promote())
            QMetaObject::invokeMethod(
                host.get(), [raw = host.get()] { raw->onBeacon(); }, Qt::QueuedConnection);
    };
    connect(&discoveryHost, &eboDiscoverer::Host::beacon, &discoveryHost, mark, Qt::DirectConnection);
}

void Host::onBeacon()
{
    constexpr qint64 kGatherMilliseconds = 50;
    const qint64 since = sinceBeacon_.isValid() ? sinceBeacon_.elapsed() : kGatherMilliseconds;
    if (since >= kGatherMilliseconds)
        tellBeacon();
    else
        beaconTimer_.start(static_cast<int>(kGatherMilliseconds - since));
}

void Host::tellBeacon()
{
    isBeaconDue_->store(false);
    sinceBeacon_.start();
    Q_EMIT beacon();
}

Host::~Host() { disconnect(this, nullptr, nullptr, nullptr); }

QString Host::name() const
{
    const auto host = discoveryHost_.promote();
    return host ? host->name() : QString();
}

QString Host::applicationId() const
{
    const auto host = discoveryHost_.promote();
    return host ? host->applicationId() : QString();
}

QString Host::applicationVersion() const
{
    const auto host = discoveryHost_.promote();
    return host ? host->applicationVersion() : QString();
}

QList<QHostAddress> Host::addresses() const
{
    QList<QHostAddress> result;
    if (const auto host = discoveryHost_.promote()) {
        for (const auto& helper : host->addresses())
            result.append(helper->address());
    }
    return result;
}

bool Host::isHeardFrom(const QHostAddress& address) const
{
    const auto host = discoveryHost_.promote();
    return host && host->isHeardFrom(address);
}

quint16 Host::port() const
{
    const auto host = discoveryHost_.promote();
    return host ? host->port() : quint16{0};
}

qint64 Host::ping() const
{
    qint64 lowest = kUnknownPing;
    if (const auto host = discoveryHost_.promote()) {
        for (const auto& helper : host->addresses()) {
            const qint64 ping = helper->ping();
            if (ping != kUnknownPing && (lowest == kUnknownPing || ping < lowest))
                lowest = ping;
        }
    }
    return lowest;
}

bool Host::isConnected() const
{
    const auto host = discoveryHost_.promote();
    return connected_ && host && host->isActive();
}

void Host::addSocket(QTcpSocket* socket)
{
    QList<QTcpSocket*> replaced;
    {
        const QMutexLocker locker(&mutex_);
        if (sockets_.count(socket) != 0)
            return;
        for (const auto& [other, ping] : sockets_) {
            if (sameAddress(other->peerAddress(), socket->peerAddress()) &&
                sameAddress(other->localAddress(), socket->localAddress()))
                replaced.append(other);
        }
        sockets_.emplace(socket, kUnknownPing);
    }
    qCInfo(ebo::log::networkHost) << "Socket added:" << *this << socket->peerAddress();
    for (QTcpSocket* const other : replaced)
        removeSocket(other);
    Q_EMIT numberOfDirectorySocketsChanged(ebo::refptr<Host>(this));
    setConnected(true);
}

void Host::removeSocket(QTcpSocket* socket)
{
    bool removed = false;
    std::size_t left = 0;
    {
        const QMutexLocker locker(&mutex_);
        removed = sockets_.erase(socket) != 0;
        left = sockets_.size();
    }
    if (removed) {
        Q_EMIT numberOfDirectorySocketsChanged(ebo::refptr<Host>(this));
        qCInfo(ebo::log::networkHost)
            << "Socket removed:" << *this << socket->peerAddress() << ". Sockets left:" << left;
    }
    socket->disconnectFromHost();
    setConnected(left > 0);
    updatePings();
}

bool Host::holds(QTcpSocket* socket) const
{
    const QMutexLocker locker(&mutex_);
    return sockets_.count(socket) != 0;
}

QList<QTcpSocket*> Host::directorySockets() const
{
    const QMutexLocker locker(&mutex_);
    QList<QTcpSocket*> result;
    for (const auto& [socket, ping] : sockets_)
        result.append(socket);
    return result;
}

void Host::setPing(QTcpSocket* socket, qint64 nanoseconds)
{
    {
        const QMutexLocker locker(&mutex_);
        const auto entry = sockets_.find(socket);
        if (entry == sockets_.end())
            return;
        entry->second = nanoseconds;
    }
    updatePings();
}

void Host::updatePings()
{
    const auto host = discoveryHost_.promote();
    if (!host)
        return;
    for (const auto& helper : host->addresses()) {
        qint64 lowest = kUnknownPing;
        {
            const QMutexLocker locker(&mutex_);
            for (const auto& [socket, ping] : sockets_) {
                if (sameAddress(socket->peerAddress(), helper->address()) &&
                    (lowest == kUnknownPing || ping < lowest))
                    lowest = ping;
            }
        }
        helper->setPing(lowest);
    }
}

AddressPair Host::lowestPingWay() const
{
    const QMutexLocker locker(&mutex_);
    const auto lowest = std::min_element(sockets_.begin(), sockets_.end(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    if (lowest == sockets_.end())
        return {};
    return {lowest->first->localAddress(), lowest->first->peerAddress()};
}

void Host::setConnected(bool connected)
{
    if (discoveryHost_.isValid())
        qCInfo(ebo::log::networkHost) << (connected ? "Connected:" : "Disconnected:") << *this;
    if (connected_.exchange(connected) == connected)
        return;
    if (!connected)
        dropServices();
    for (const auto& service : services())
        service->setReading(connected);
    Q_EMIT isConnectedChanged(ebo::refptr<Host>(this));
}

void Host::dropServices()
{
    QMap<QString, ebo::refptr<Service>> dropped;
    {
        const QMutexLocker locker(&mutex_);
        dropped.swap(services_);
    }
    for (const auto& service : dropped) {
        disconnect(service.get(), nullptr, this, nullptr);
        service->shutDown();
    }
}

Host::FoundService Host::findOrMakeService(const QString& serviceId, quint16 port)
{
    const QMutexLocker locker(&mutex_);
    ebo::refptr<Service>& entry = services_[serviceId];
    if (entry)
        return {entry, false};
    entry = ebo::makeRef<Service>(ebo::weakptr<Host>(this), serviceId, port, localUuid_, calls_);
    // Of a device that has not said who it is, nobody wants packets.
    entry->setReading(connected_);
    connect(entry.get(), &Service::isReadyChanged, this, &Host::onServiceIsReadyChanged);
    return {entry, true};
}

ebo::refptr<Service> Host::service(const QString& serviceId) const
{
    const QMutexLocker locker(&mutex_);
    return services_.value(serviceId);
}

QList<ebo::refptr<Service>> Host::services() const
{
    const QMutexLocker locker(&mutex_);
    return services_.values();
}

void Host::shutDown()
{
    beaconTimer_.stop();
    std::map<QTcpSocket*, qint64> closing;
    {
        const QMutexLocker locker(&mutex_);
        closing.swap(sockets_);
    }
    for (const auto& [socket, ping] : closing)
        socket->abort();
    dropServices();
}

void Host::broadcastServices() { Q_EMIT serviceBroadcast(ebo::refptr<Host>(this)); }

void Host::onPingChanged() { Q_EMIT pingChanged(ebo::refptr<Host>(this)); }

void Host::onServiceIsReadyChanged(const ebo::refptr<Service>& service)
{
    if (!service->isReady())
        Q_EMIT serviceBecameUnready(ebo::refptr<Host>(this));
    Q_EMIT serviceIsReadyChanged(ebo::refptr<Host>(this));
}

void Host::onAddressesChanged()
{
    const QList<QHostAddress> known = addresses();
    QList<QTcpSocket*> lost;
    for (QTcpSocket* const socket : directorySockets()) {
        const bool isKnown = std::any_of(known.begin(), known.end(), [socket](const QHostAddress& address) {
            return sameAddress(address, socket->peerAddress());
        });
        if (!isKnown)
            lost.append(socket);
    }
    for (QTcpSocket* const socket : lost) {
        for (const auto& service : services())
            service->ipRemoved(socket->peerAddress());
        removeSocket(socket);
    }
    Q_EMIT addressChanged();
}

QDebug operator<<(QDebug debug, const Host& host)
{
    const QDebugStateSaver saver(debug);
    debug.setAutoInsertSpaces(true);
    debug << "Host(" << host.uuid() << "," << host.addresses() << "," << host.name() << ")";
    return debug;
}

}  // namespace eboNetworkExchange
