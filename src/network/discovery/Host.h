#pragma once

#include "network/discovery/HostAddressHelper.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QUuid>

#include <atomic>

namespace eboDiscoverer {

/// A device that has been heard: who it is, and the addresses that its beacons come from. It lasts as long as
/// one of them does. Lives on the discovery thread, which alone changes it; any thread may ask.
class Host : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    Host(const QUuid& uuid, QString name, quint16 port, QString applicationVersion, QString applicationId);

    [[nodiscard]] const QUuid& uuid() const { return uuid_; }
    [[nodiscard]] QString name() const;
    [[nodiscard]] QList<ebo::refptr<HostAddressHelper>> addresses() const;

    /// Whether it has been heard from this address in the last five seconds.
    [[nodiscard]] bool isHeardFrom(const QHostAddress& address) const;

    /// TCP port of the device's directory server; 0 if it has none.
    [[nodiscard]] quint16 port() const { return port_.load(); }

    [[nodiscard]] const QString& applicationVersion() const { return applicationVersion_; }
    [[nodiscard]] const QString& applicationId() const { return applicationId_; }

    /// Whether it is in the table of hosts.
    [[nodiscard]] bool isActive() const { return active_.load(); }

    /// A beacon has come from this address.
    void heardFrom(const QHostAddress& address);

    /// What the latest beacon says. Tells nameChanged if the name is another one, portChanged in any case.
    void update(const QString& name, quint16 port);

    /// It leaves the table of hosts.
    void deactivate() { active_ = false; }

    /// Its addresses age no more.
    void retire();

Q_SIGNALS:
    void addressesChanged();
    void uuidChanged();
    void nameChanged();
    void portChanged();
    void pingChanged();

    /// One of its beacons has come.
    void beacon();

    /// Its last address has gone.
    void removed(QUuid hostUuid);

private Q_SLOTS:
    void onRemoveAddressHelper(const ebo::refptr<eboDiscoverer::HostAddressHelper>& helper);

private:
    /// @return whether the address is a new one
    bool refreshOrAdd(const QHostAddress& address);

    const QUuid uuid_;
    QString name_;                                     // guarded by mutex_
    QList<ebo::refptr<HostAddressHelper>> addresses_;  // guarded by mutex_
    std::atomic<quint16> port_;
    const QString applicationVersion_;
    const QString applicationId_;
    mutable QMutex mutex_;
    std::atomic<bool> active_{true};
};

}  // namespace eboDiscoverer
