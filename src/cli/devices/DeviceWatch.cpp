#include "cli/devices/DeviceWatch.h"

#include "network/nfs/netUrl.h"

namespace tunesift::cli {

using eboNetworkExchange::AbstractNetwork;
using eboNetworkExchange::Host;

DeviceWatch::DeviceWatch(AbstractNetwork& network, eboNfs& nfs) : nfs_(nfs)
{
    const auto lookAtAll = [this] {
        for (const QUuid& uuid : entries_.keys())
            onHostChanged(uuid);
    };
    connect(&nfs, &eboNfs::hostsChanged, this, lookAtAll, Qt::QueuedConnection);
    connect(&network, &AbstractNetwork::hostAdded, this, &DeviceWatch::onHostAdded, Qt::QueuedConnection);
    connect(&network, &AbstractNetwork::hostRemoved, this, &DeviceWatch::onHostRemoved, Qt::QueuedConnection);
    for (const HostRef& host : network.hosts()) {
        const auto addUnlessGone = [this, &network, host] {
            if (network.hosts().contains(host))
                onHostAdded(host);
        };
        QMetaObject::invokeMethod(this, addUnlessGone, Qt::QueuedConnection);
    }
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
    if (const auto known = entries_.constFind(uuid); known != entries_.constEnd() && known->host == host)
        return;
    const auto look = [this, uuid] { onHostChanged(uuid); };
    for (const auto change :
         {&Host::isConnectedChanged, &Host::pingChanged, &Host::numberOfDirectorySocketsChanged,
          &Host::servicesChanged, &Host::serviceIsReadyChanged})
        connect(host.get(), change, this, look, Qt::QueuedConnection);
    connect(host.get(), &Host::addressChanged, this, look, Qt::QueuedConnection);
    // Names and ports have no signal of their own; they come with beacons.
    connect(host.get(), &Host::beacon, this, look, Qt::QueuedConnection);

    const Device device = deviceFrom(*host);
    entries_.insert(uuid, {host, device, nullptr});
    Q_EMIT appeared(device);
    onHostChanged(uuid);
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
    lookForMounts(*entry);
    const Device before = entry->device;
    Device after = deviceFrom(*entry->host);
    if (entry->mounts && !entry->mounts->isUnavailable())
        after.mounts = entry->mounts->names();
    // Discovery has forgotten it already: its removal is on the way.
    if (after == before || after.addresses.isEmpty())
        return;
    entry->device = after;
    Q_EMIT changed(before, after);
}

/// Asks the device what it shares, once it can be asked, and again if the connection broke since.
void DeviceWatch::lookForMounts(Entry& entry)
{
    if (entry.mounts && !entry.mounts->isUnavailable())
        return;
    entry.mounts.reset();
    const QUuid uuid = entry.host->uuid();
    ebo::refptr<eboNfsHost> found;
    if (!nfs_.findHost(eboNetUrl::rootOf(uuid), found) || !found->isConnected() || !found->hasService())
        return;
    entry.mounts = host::MountListing::request(nfs_, found);
    connect(
        entry.mounts.get(), &host::MountListing::changed, this, [this, uuid] { onHostChanged(uuid); },
        Qt::QueuedConnection);
    if (!entry.mounts->names().isEmpty())  // it was faster than the connection
        QMetaObject::invokeMethod(
            this, [this, uuid] { onHostChanged(uuid); }, Qt::QueuedConnection);
}

}  // namespace tunesift::cli
