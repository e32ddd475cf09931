#pragma once

#include "network/discovery/HostModel.h"
#include "network/exchange/AbstractNetwork.h"
#include "network/exchange/Host.h"

#include <QHash>

namespace eboNetworkExchange {

/// The devices that can be heard, with what the network knows of them.
class HostModel : public eboDiscoverer::HostModel {
    Q_OBJECT

public:
    enum Role {
        kServicesRole = Qt::UserRole + 15,   ///< QStringList: the services that are ready.
        kConnectedRole = Qt::UserRole + 16,  ///< bool.
        kPingRole = Qt::UserRole + 17,       ///< qint64: nanoseconds to and fro, -1 if not known.
    };

    HostModel(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer,
              ebo::refptr<AbstractNetwork> network);

    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    void addConnected(const ebo::refptr<Host>& host);
    void removeConnected(const ebo::refptr<Host>& host);

    const ebo::refptr<AbstractNetwork> network_;
    QHash<QUuid, ebo::refptr<Host>> hosts_;
};

}  // namespace eboNetworkExchange
