#pragma once

#include "network/discovery/Host.h"
#include "network/discovery/HostShares.h"
#include "runtime/refptr.h"

#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QUuid>

namespace eboDiscoverer {

/// The table of the devices that have been heard. Lives on the discovery thread; the table may be read on
/// any.
class HostController : public QObject {
    Q_OBJECT

public:
    /// @param ownUuid  whose beacons come back by broadcast and are ignored
    HostController(QString organizationName, QString applicationName, const QUuid& ownUuid);

    /// Forgets every host that is left.
    ~HostController() override;

    /// Forgets every host, with its signal. The table's own end, on the discovery thread: whoever else holds
    /// the table may be the last to let go of it.
    void removeAllHosts();

    /// In the order of their uuids.
    [[nodiscard]] QList<ebo::refptr<Host>> hosts() const;

public Q_SLOTS:
    /// A beacon has come: makes its sender known, or refreshes it.
    /// @return whether the host is a new one
    bool addHost(const QUuid& uuid, const QHostAddress& address, const QString& name, quint16 port,
                 const QString& appId, const QString& appVersion);
    bool addHost(const QUuid& uuid, const QHostAddress& address, const QString& name, quint16 port,
                 const QString& appId);

    /// Forgets a host. @return whether it was known
    bool removeHost(const QUuid& uuid);

    /// A host says goodbye. That counts only from one of its own addresses: it must not be for others to
    /// say. @return whether it was forgotten
    bool onFarewell(const QUuid& uuid, const QHostAddress& address);

Q_SIGNALS:
    void hostAdded(ebo::refptr<eboDiscoverer::Host> host);
    void hostRemoved(ebo::refptr<eboDiscoverer::Host> host);

private:
    [[nodiscard]] ebo::refptr<Host> find(const QUuid& uuid) const;

    const QString organizationName_;
    const QString applicationName_;
    const QUuid ownUuid_;
    QMap<QUuid, ebo::refptr<Host>> hosts_;  // guarded by mutex_
    HostShares shares_;
    mutable QMutex mutex_;
};

}  // namespace eboDiscoverer
