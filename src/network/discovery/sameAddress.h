#pragma once

#include <QHostAddress>

namespace eboDiscoverer {

/// Whether two addresses are one: the IPv4 form a.b.c.d and the IPv6 form ::ffff:a.b.c.d are. Sockets give
/// now one, now the other.
[[nodiscard]] inline bool sameAddress(const QHostAddress& a, const QHostAddress& b)
{
    return QHostAddress(a.toIPv6Address()) == QHostAddress(b.toIPv6Address());
}

}  // namespace eboDiscoverer
