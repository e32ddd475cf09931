#include "network/exchange/ServiceFilteredHostModel.h"

#include "network/exchange/HostModel.h"

#include <algorithm>

namespace eboNetworkExchange {

ServiceFilteredHostModel::ServiceFilteredHostModel(QObject* parent) : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
}

void ServiceFilteredHostModel::setRequiredServices(const QStringList& serviceIds)
{
    if (serviceIds == requiredServices_)
        return;
    requiredServices_ = serviceIds;
    invalidateFilter();
    Q_EMIT requiredServicesChanged();
}

void ServiceFilteredHostModel::setSortingData(const QVariantMap& sortingData)
{
    sortingData_ = sortingData;
    const QByteArray name = sortingData.value(QStringLiteral("role")).toByteArray();
    const int role = roleNames().key(name, Qt::DisplayRole);
    const bool isDescending = sortingData.value(QStringLiteral("descending")).toBool();
    constexpr int kOwnOrder = -1;
    setSortRole(role);
    sort(name.isEmpty() ? kOwnOrder : 0, isDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

bool ServiceFilteredHostModel::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    const QStringList offered =
        sourceModel()->index(row, 0, parent).data(HostModel::kServicesRole).toStringList();
    return std::all_of(requiredServices_.begin(), requiredServices_.end(),
                       [&offered](const QString& id) { return offered.contains(id, Qt::CaseSensitive); });
}

bool ServiceFilteredHostModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    return left.data(sortRole()).toString() < right.data(sortRole()).toString();
}

}  // namespace eboNetworkExchange
