#pragma once

#include "network/exchange/AbstractNetwork.h"
#include "network/exchange/Host.h"
#include "runtime/refptr.h"

#include <QList>
#include <QObject>
#include <QStringList>

namespace eboNetworkExchange {

/// The devices that offer certain services. A device is listed from the moment it is connected and all of
/// them are ready, and stays listed until it goes, also if it loses its connection or a service meanwhile.
///
/// Made on any thread; lives on the network thread from `start` on, where all signals come from. It must be
/// ended there, or after the network.
class HostEnumerator : public QObject {
    Q_OBJECT

public:
    HostEnumerator(ebo::refptr<AbstractNetwork> network, QStringList requiredServices);

    /// Whether a device has to be connected to be listed; it has to unless this is switched off.
    void setRequireConnected(bool require) { requireConnected_ = require; }

    /// Whether a listed device stays until it goes; it does unless this is switched off. Without it, a device
    /// leaves with its connection or with one of the services.
    void setKeepWhileConnected(bool keep) { keepWhileConnected_ = keep; }

    /// The devices that are listed now.
    [[nodiscard]] const QList<ebo::refptr<Host>>& hosts() const { return matchingHosts_; }

public Q_SLOTS:
    /// Moves to the network thread and begins, with the devices that the network has already. On the thread
    /// that it was made on, once.
    void start();

    void onHostAdded(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onHostRemoved(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onServiceChanged(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onServiceIsReadyChanged(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onConnectedChanged(const ebo::refptr<eboNetworkExchange::Host>& host);

    /// Lets every listed device tell its serviceBroadcast.
    void broadcastServices();

Q_SIGNALS:
    void hostAdded(ebo::refptr<eboNetworkExchange::Host> host);
    void hostRemoved(ebo::refptr<eboNetworkExchange::Host> host);

    /// The last listed device has gone.
    void hostEnumeratorEmpty();

private:
    [[nodiscard]] bool isReachable(const Host& host) const;
    void evaluate(const ebo::refptr<Host>& host);
    void unlist(const ebo::refptr<Host>& host);

    bool requireConnected_ = true;
    const ebo::refptr<AbstractNetwork> network_;
    const QStringList requiredServices_;
    QList<ebo::refptr<Host>> allHosts_;
    QList<ebo::refptr<Host>> matchingHosts_;
    bool keepWhileConnected_ = true;
};

}  // namespace eboNetworkExchange
