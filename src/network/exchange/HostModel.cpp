#include "network/exchange/HostModel.h"

#include <utility>

namespace eboNetworkExchange {

HostModel::HostModel(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer,
                     ebo::refptr<AbstractNetwork> network)
    : eboDiscoverer::HostModel(std::move(discoverer)), network_(std::move(network))
{
    connect(network_.get(), &AbstractNetwork::hostAdded, this, &HostModel::addConnected);
    connect(network_.get(), &AbstractNetwork::hostRemoved, this, &HostModel::removeConnected);
    for (const auto& host : network_->hosts())
        addConnected(host);
}

QVariant HostModel::data(const QModelIndex& index, int role) const
{
    if (role != kServicesRole && role != kConnectedRole && role != kPingRole)
        return eboDiscoverer::HostModel::data(index, role);
    const ebo::refptr<Host> host = hosts_.value(data(index, kUuidRole).toUuid());
    if (!host)
        return {};
    if (role == kConnectedRole)
        return host->isConnected();
    if (role == kPingRole)
        return host->ping();
    QStringList ready;
    for (const auto& service : host->services()) {
        if (service->isReady())
            ready.append(service->serviceId());
    }
    return ready;
}

QHash<int, QByteArray> HostModel::roleNames() const
{
    QHash<int, QByteArray> names = eboDiscoverer::HostModel::roleNames();
    names.insert(kServicesRole, "services");
    names.insert(kConnectedRole, "connected");
    names.insert(kPingRole, "ping");
    return names;
}

void HostModel::addConnected(const ebo::refptr<Host>& host)
{
    if (hosts_.value(host->uuid()) == host)
        return;  // listed already when its signal came
    hosts_.insert(host->uuid(), host);
    const auto changed = [this, uuid = host->uuid()] { refresh(uuid); };
    connect(host.get(), &Host::isConnectedChanged, this, changed);
    connect(host.get(), &Host::servicesChanged, this, changed);
    connect(host.get(), &Host::serviceIsReadyChanged, this, changed);
    changed();
}

void HostModel::removeConnected(const ebo::refptr<Host>& host)
{
    disconnect(host.get(), nullptr, this, nullptr);
    if (hosts_.value(host->uuid()) != host)
        return;
    hosts_.remove(host->uuid());
    refresh(host->uuid());
}

}  // namespace eboNetworkExchange
