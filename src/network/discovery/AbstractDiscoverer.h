#pragma once

#include "network/discovery/Host.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QList>
#include <QObject>
#include <QUuid>

namespace eboDiscoverer {

/// Finds other devices and is found by them. Signals come on the thread that the object lives on.
class AbstractDiscoverer : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// The devices that can be heard now, in the order of their uuids. Any thread.
    [[nodiscard]] virtual QList<ebo::refptr<Host>> hosts() const = 0;

    /// Begins to tell and to listen. Not to be called twice without a stop.
    /// @param directoryPort  TCP port of this device's directory server, 0 for none
    virtual void start(quint16 directoryPort) = 0;

    virtual void stop() = 0;

    /// This device's own identity. Any thread.
    [[nodiscard]] virtual QUuid uuid() const = 0;

Q_SIGNALS:
    void hostAdded(ebo::refptr<eboDiscoverer::Host> host);
    void hostRemoved(ebo::refptr<eboDiscoverer::Host> host);
};

}  // namespace eboDiscoverer
