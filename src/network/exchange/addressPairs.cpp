#include "network/exchange/addressPairs.h"

#include "network/discovery/sameAddress.h"

#include <algorithm>
#include <cstddef>

namespace eboNetworkExchange {

namespace {

using eboDiscoverer::sameAddress;

constexpr std::size_t kAddressBytes = 16;

bool inSubnet(const QHostAddress& remote, const LocalEntry& entry)
{
    if (remote.isNull() || entry.ip.isNull() || entry.netmask.isNull())
        return false;
    const Q_IPV6ADDR r = remote.toIPv6Address();
    const Q_IPV6ADDR l = entry.ip.toIPv6Address();
    const Q_IPV6ADDR mask = entry.netmask.toIPv6Address();
    for (std::size_t i = 0; i < kAddressBytes; ++i) {
        if (((r.c[i] ^ l.c[i]) & mask.c[i]) != 0)
            return false;
    }
    return true;
}

QHostAddress plainForm(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4) : address;
}

}  // namespace

bool isLocal(const QHostAddress& address, const QList<LocalEntry>& entries)
{
    return std::any_of(entries.begin(), entries.end(),
                       [&address](const LocalEntry& entry) { return sameAddress(entry.ip, address); });
}

QList<AddressPair> addressPairs(const QList<QHostAddress>& remotes, quint16 port,
                                const QList<ExistingConnection>& existing, const QList<LocalEntry>& entries)
{
    QList<AddressPair> pairs;
    for (const QHostAddress& remote : remotes) {
        for (const LocalEntry& entry : entries) {
            if (!inSubnet(remote, entry))
                continue;
            const auto joins = [&](const ExistingConnection& connection) {
                return connection.peerPort == port && sameAddress(connection.peer, remote) &&
                       sameAddress(connection.local, entry.ip);
            };
            if (std::none_of(existing.begin(), existing.end(), joins))
                pairs.append({plainForm(entry.ip), plainForm(remote)});
        }
    }
    return pairs;
}

}  // namespace eboNetworkExchange
