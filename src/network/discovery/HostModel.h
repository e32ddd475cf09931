#pragma once

#include "network/discovery/AbstractDiscoverer.h"
#include "network/discovery/Host.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QAbstractListModel>
#include <QList>
#include <QUuid>

namespace eboDiscoverer {

/// The devices that can be heard, a row each in the order in which they came, for user interfaces. Lives on
/// the thread of its views, which needs an event loop.
class HostModel : public QAbstractListModel, public ebo::refcounted {
    Q_OBJECT

public:
    enum Role {
        kUuidRole = Qt::UserRole + 1,         ///< QUuid.
        kNameRole = Qt::UserRole + 2,         ///< QString; Qt::DisplayRole as well.
        kAddressesRole = Qt::UserRole + 3,    ///< QStringList.
        kPortRole = Qt::UserRole + 4,         ///< quint16: TCP port of the directory server.
        kApplicationRole = Qt::UserRole + 5,  ///< QString.
        kVersionRole = Qt::UserRole + 6,      ///< QString: of the application.
    };

    explicit HostModel(ebo::refptr<AbstractDiscoverer> discoverer);

    [[nodiscard]] int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

protected:
    /// Everything about this device may look different now.
    void refresh(const QUuid& uuid);

private:
    void add(const ebo::refptr<Host>& host);
    void remove(const ebo::refptr<Host>& host);

    const ebo::refptr<AbstractDiscoverer> discoverer_;
    QList<ebo::refptr<Host>> hosts_;
};

}  // namespace eboDiscoverer
