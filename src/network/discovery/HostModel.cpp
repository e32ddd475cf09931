#include "network/discovery/HostModel.h"

#include <utility>

namespace eboDiscoverer {

HostModel::HostModel(ebo::refptr<AbstractDiscoverer> discoverer) : discoverer_(std::move(discoverer))
{
    connect(discoverer_.get(), &AbstractDiscoverer::hostAdded, this, &HostModel::add);
    connect(discoverer_.get(), &AbstractDiscoverer::hostRemoved, this, &HostModel::remove);
    for (const auto& host : discoverer_->hosts())
        add(host);
}

int HostModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : hosts_.size(); }

QVariant HostModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= hosts_.size())
        return {};
    const Host& host = *hosts_[index.row()];
    switch (role) {
    case kUuidRole:
        return host.uuid();
    case Qt::DisplayRole:
    case kNameRole:
        return host.name();
    case kAddressesRole: {
        QStringList addresses;
        for (const auto& helper : host.addresses())
            addresses.append(helper->address().toString());
        return addresses;
    }
    case kPortRole:
        return host.port();
    case kApplicationRole:
        return host.applicationId();
    case kVersionRole:
        return host.applicationVersion();
    default:
        return {};
    }
}

QHash<int, QByteArray> HostModel::roleNames() const
{
    return {{kUuidRole, "uuid"},
            {kNameRole, "name"},
            {kAddressesRole, "addresses"},
            {kPortRole, "port"},
            {kApplicationRole, "application"},
            {kVersionRole, "version"}};
}

void HostModel::refresh(const QUuid& uuid)
{
    for (int row = 0; row < hosts_.size(); ++row) {
        if (hosts_[row]->uuid() == uuid)
            Q_EMIT dataChanged(index(row), index(row));
    }
}

void HostModel::add(const ebo::refptr<Host>& host)
{
    if (hosts_.contains(host))
        return;  // listed already when its signal came
    const auto changed = [this, uuid = host->uuid()] { refresh(uuid); };
    connect(host.get(), &Host::nameChanged, this, changed);
    connect(host.get(), &Host::addressesChanged, this, changed);
    connect(host.get(), &Host::pingChanged, this, changed);
    beginInsertRows(QModelIndex(), hosts_.size(), hosts_.size());
    hosts_.append(host);
    endInsertRows();
}

void HostModel::remove(const ebo::refptr<Host>& host)
{
    const int row = hosts_.indexOf(host);
    if (row < 0)
        return;
    disconnect(host.get(), nullptr, this, nullptr);
    beginRemoveRows(QModelIndex(), row, row);
    hosts_.removeAt(row);
    endRemoveRows();
}

}  // namespace eboDiscoverer
