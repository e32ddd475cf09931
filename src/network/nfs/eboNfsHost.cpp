#include "network/nfs/eboNfsHost.h"

#include "network/nfs/messageStream.h"
#include "network/nfs/netUrl.h"
#include "runtime/logCategories.h"

#include <QBuffer>
#include <QMutexLocker>

#include <utility>

using eboNetworkExchange::Host;
using eboNetworkExchange::Service;
using eboNfsMessages::Message;

eboNfsHost::eboNfsHost(const HostRef& host)
    : uuid_(host->uuid()), rootUrl_(eboNetUrl::rootOf(uuid_)), host_(host),
      service_(host->service(serviceId()))
{
    connect(host.get(), &Host::addressChanged, this, &eboNfsHost::addressesChanged);
    connect(host.get(), &Host::servicesChanged, this, &eboNfsHost::onServicesChanged);
}

eboNfsHost::~eboNfsHost() = default;

QString eboNfsHost::name() const
{
    const QMutexLocker locker(&mutex_);
    return name_;
}

eboNfsHost::HostRef eboNfsHost::host() const
{
    const QMutexLocker locker(&mutex_);
    return host_;
}

eboNfsHost::ServiceRef eboNfsHost::service() const
{
    const QMutexLocker locker(&mutex_);
    return service_;
}

bool eboNfsHost::isConnected() const
{
    const HostRef known = host();
    return known && known->isConnected();
}

bool eboNfsHost::hasService() const
{
    const ServiceRef known = service();
    return known && known->isReady();
}

bool eboNfsHost::sendMessage(const Message& message)
{
    if (isRemoved())
        return false;
    const ServiceRef receiver = service();
    if (!receiver)
        return false;
    receiver->writePacket(eboNfsMessages::toPacket(message));
    return true;
}

bool eboNfsHost::postMessage(const Message& message)
{
    if (isRemoved())
        return false;
    const ServiceRef receiver = service();
    if (!receiver)
        return false;
    receiver->writePacketAtOnce(eboNfsMessages::toPacket(message));
    return true;
}

bool eboNfsHost::sendMessageNonBlocking(const Message& message)
{
    if (isRemoved())
        return false;
    const ServiceRef receiver = service();
    return receiver && receiver->writePacketAtOnce(eboNfsMessages::toPacket(message));
}

qint64 eboNfsHost::unsentBytes() const
{
    const ServiceRef receiver = service();
    return receiver ? receiver->unsentBytes() : 0;
}

void eboNfsHost::startReading()
{
    connected_ = true;
    if (const HostRef known = host())
        onServicesChanged(known);
}

void eboNfsHost::remove()
{
    removed_ = true;
    HostRef host;
    ServiceRef service;
    {
        const QMutexLocker locker(&mutex_);
        host.swap(host_);
        service.swap(service_);
    }
    if (host)
        disconnect(host.get(), nullptr, this, nullptr);
    if (service)
        disconnect(service.get(), nullptr, this, nullptr);
}

void eboNfsHost::setName(const QString& name)
{
    {
        const QMutexLocker locker(&mutex_);
        if (name_ == name)
            return;
        name_ = name;
    }
    Q_EMIT nameChanged(rootUrl_, name);
}

void eboNfsHost::onServicesChanged(const HostRef& host)
{
    if (!connected_ || !host || host->uuid() != uuid_ || isRemoved())
        return;
    const ServiceRef current = host->service(serviceId());
    ServiceRef former = current;
    {
        const QMutexLocker locker(&mutex_);
        former.swap(service_);
    }
    if (former)
        disconnect(former.get(), nullptr, this, nullptr);
    qCDebug(ebo::log::fileTransfer) << "Host service changed from:" << former.get();
    qCDebug(ebo::log::fileTransfer) << "Host service changed to:" << current.get();
    if (!current)
        return;
    connect(current.get(), &Service::readyRead, this, &eboNfsHost::onReadyRead);
    connect(current.get(), &Service::bytesWritten, this, &eboNfsHost::bytesWritten);
    onReadyRead();
}

void eboNfsHost::onReadyRead()
{
    // Looked up for each packet: a message may make the device go.
    for (ServiceRef sender = service(); sender && !isRemoved() && sender->packetsAvailable();
         sender = service())
        readPacket(sender->readPacket());
}

void eboNfsHost::readPacket(const QByteArray& packet)
{
    QByteArray bytes = packet;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    // A message may make the device go: then nobody is left whom the rest could be answered.
    while (!buffer.atEnd() && !isRemoved()) {
        const Message message = eboNfsMessages::readMessage(&buffer);
        qCDebug(ebo::log::fileTransferDetailed) << "Data received from" << uuid_ << message;
        if (message.type == eboNfsMessages::eDeviceInfo)
            setName(message.deviceName);
        else if (message.type != eboNfsMessages::kInvalid)
            Q_EMIT messageReceived(this, message);
    }
}
