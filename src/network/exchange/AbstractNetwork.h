#pragma once

#include "network/discovery/AbstractDiscoverer.h"
#include "network/exchange/Host.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QList>
#include <QObject>
#include <QThread>

namespace eboNetworkExchange {

/// The devices that this one is joined to. Signals come on the network thread: receivers on others need
/// queued connections.
class AbstractNetwork : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// Listens, then lets other devices know.
    virtual void start() = 0;

    /// TCP port of this device's directory server; 0 before the start and if there is none.
    [[nodiscard]] virtual quint16 directoryPort() const = 0;
    [[nodiscard]] virtual ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer() const = 0;

    /// Any thread.
    [[nodiscard]] virtual QList<ebo::refptr<Host>> hosts() const = 0;

    /// The network thread.
    [[nodiscard]] virtual QThread* networkThread() const = 0;

Q_SIGNALS:
    void hostAdded(ebo::refptr<eboNetworkExchange::Host> host);
    void hostRemoved(ebo::refptr<eboNetworkExchange::Host> host);
    void numberOfDirectorySocketsChanged(int numberOfDirectorySockets);
};

}  // namespace eboNetworkExchange
