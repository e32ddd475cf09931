#pragma once

#include "network/nfs/Message.h"
#include "network/nfs/eboNfsHost.h"
#include "runtime/refcounted.h"

#include <QObject>
#include <QUrl>

#include <cstdint>

/// Something of this device that others use, each under numbers of their own. Lives on the network thread and
/// is used there.
class eboNfsLocalObject : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// Obeys a request of a device for this object.
    /// @return whether there is work for the turns to come
    virtual bool processRequest(const eboNfsMessages::Message& message, eboNfsHost* host) = 0;

    /// Where it is on this device; empty for the root.
    [[nodiscard]] virtual QUrl url() const = 0;

    /// Whether the device uses it under that number.
    [[nodiscard]] virtual bool serves(eboNfsHost* host, std::uint32_t objectId) const = 0;

    /// The device uses it no more: under that number, or at all.
    virtual void forget(eboNfsHost* host, std::uint32_t objectId) = 0;
    virtual void removeHost(eboNfsHost* host) = 0;

    /// Tells all who use it that it is not available any more, and forgets them.
    virtual void dismiss() = 0;
};
