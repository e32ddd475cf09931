#pragma once

#include <QHostAddress>

namespace eboDiscoverer {

/// The form in which equal addresses look equal: the IPv4 form a.b.c.d and the IPv6 form ::ffff:a.b.c.d are
/// one address. Sockets give now one, now the other.
[[nodiscard]] inline QHostAddress uniformAddress(const QHostAddress& address)
{
    return QHostAddress(address.toIPv6Address());
}

/// Whether two addresses are one.
[[nodiscard]] inline bool sameAddress(const QHostAddress& a, const QHostAddress& b)
{
    return uniformAddress(a) == uniformAddress(b);
}

}  // namespace eboDiscoverer
