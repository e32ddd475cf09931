#pragma once

#include <QSortFilterProxyModel>
#include <QStringList>
#include <QVariantMap>

namespace eboNetworkExchange {

/// The rows of a HostModel whose devices offer certain services, in an order that the user interface chooses.
class ServiceFilteredHostModel : public QSortFilterProxyModel {
    Q_OBJECT
    Q_PROPERTY(QStringList requiredServices READ requiredServices WRITE setRequiredServices NOTIFY
                   requiredServicesChanged)
    Q_PROPERTY(QVariantMap sortingData READ sortingData WRITE setSortingData)

public:
    explicit ServiceFilteredHostModel(QObject* parent = nullptr);

    [[nodiscard]] const QStringList& requiredServices() const { return requiredServices_; }
    void setRequiredServices(const QStringList& serviceIds);

    /// "role": name of the role by whose text the rows are ordered, none for their own order; "descending":
    /// bool.
    [[nodiscard]] const QVariantMap& sortingData() const { return sortingData_; }
    void setSortingData(const QVariantMap& sortingData);

Q_SIGNALS:
    void requiredServicesChanged();

protected:
    [[nodiscard]] bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    QStringList requiredServices_;
    QVariantMap sortingData_;
};

}  // namespace eboNetworkExchange
