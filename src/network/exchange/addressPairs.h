#pragma once

#include "network/discovery/LocalAddresses.h"

#include <QHostAddress>
#include <QList>
#include <QtGlobal>

namespace eboNetworkExchange {

using eboDiscoverer::LocalEntry;

/// Two ends of a connection that there is already, or that is under way.
struct ExistingConnection {
    QHostAddress local;
    QHostAddress peer;
    quint16 peerPort;
};

/// A connection to be made.
struct AddressPair {
    QHostAddress local;
    QHostAddress remote;
};

/// Whether an address is among the entries.
[[nodiscard]] bool isLocal(const QHostAddress& address, const QList<LocalEntry>& entries);

/// The connections that are missing to a port of a device: one for every pair of addresses in the same
/// subnet. Other networks are left alone, even where there is a route. All addresses count in their IPv6
/// form; those of the result are IPv4 where they can be, since sockets cannot be bound to the mapped form.
[[nodiscard]] QList<AddressPair> addressPairs(const QList<QHostAddress>& remotes, quint16 port,
                                              const QList<ExistingConnection>& existing,
                                              const QList<LocalEntry>& entries);

}  // namespace eboNetworkExchange
