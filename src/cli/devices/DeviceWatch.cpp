#include "cli/devices/DeviceWatch.h"

namespace tunesift::cli {

using eboNetworkExchange::AbstractNetwork;
using eboNetworkExchange::Host;

DeviceWatch::DeviceWatch(AbstractNetwork& network)
{
    connect(&network, &AbstractNetwork::hostAdded, this, &DeviceWatch::onHostAdded, Qt::QueuedConnection);
    connect(&network, &AbstractNetwork::hostRemoved, this, &DeviceWatch::onHostRemoved, Qt::QueuedConnection);
}

QList<Device> DeviceWatch::devices() const
{
    QList<Device> result;
    for (const Entry& entry : entries_)
        result.append(entry.device);
    return result;
}

void DeviceWatch::onHostAdded(const HostRef& host)
{
    const QUuid uuid = host->uuid();
    const auto look = [this, uuid] { onHostChanged(uuid); };
    for (const auto change :
         {&Host::isConnectedChanged, &Host::pingChanged, &Host::numberOfDirectorySocketsChanged,
          &Host::servicesChanged, &Host::serviceIsReadyChanged})
        connect(host.get(), change, this, look, Qt::QueuedConnection);
    connect(host.get(), &Host::addressChanged, this, look, Qt::QueuedConnection);
    // Names and ports have no signal of their own; they come with beacons.
    connect(host.get(), &Host::beacon, this, look, Qt::QueuedConnection);

    const Device device = deviceFrom(*host);
    entries_.insert(uuid, {host, device});
    Q_EMIT appeared(device);
}

void DeviceWatch::onHostRemoved(const HostRef& host)
{
    disconnect(host.get(), nullptr, this, nullptr);
    const auto entry = entries_.find(host->uuid());
    if (entry == entries_.end() || !(entry->host == host))
        return;
    const Device device = entry->device;
    entries_.erase(entry);
    Q_EMIT gone(device);
}

void DeviceWatch::onHostChanged(const QUuid& uuid)
{
    const auto entry = entries_.find(uuid);
    if (entry == entries_.end())
        return;
    const Device before = entry->device;
    const Device after = deviceFrom(*entry->host);
    // Discovery has forgotten it already: its removal is on the way.
    if (after == before || after.addresses.isEmpty())
        return;
    entry->device = after;
    Q_EMIT changed(before, after);
}

}  // namespace tunesift::cli
