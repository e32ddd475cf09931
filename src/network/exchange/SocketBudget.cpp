#include "network/exchange/SocketBudget.h"

#include "network/discovery/PeerBudget.h"
#include "network/discovery/sameAddress.h"

#include <algorithm>
#include <sys/resource.h>

namespace eboNetworkExchange {

namespace {

using eboDiscoverer::PeerBudget;
using eboDiscoverer::uniformAddress;

constexpr int kMost = 4 * PeerBudget::kSockets;

/// Files, databases and whatever else a process opens want their part: ours is a quarter.
int mostOfProcess()
{
    constexpr rlim_t kPart = 4;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur / kPart >= rlim_t{kMost})
        return kMost;
    return static_cast<int>(limit.rlim_cur / kPart);
}

}  // namespace

SocketBudget::SocketBudget() : most_(mostOfProcess()), mostOfPeer_(std::min(PeerBudget::kSockets, most_ / 2))
{}

int SocketBudget::count(const QHostAddress& peer) const { return counts_.value(uniformAddress(peer)); }

void SocketBudget::enter(QTcpSocket* socket, const QHostAddress& peer)
{
    if (places_.contains(socket))
        return;
    const QHostAddress address = uniformAddress(peer);
    places_.insert(socket, address);
    ++counts_[address];
    connect(socket, &QObject::destroyed, this, &SocketBudget::leave);
}

void SocketBudget::leave(QObject* socket)
{
    const auto place = places_.constFind(socket);
    if (place == places_.constEnd())
        return;
    const auto count = counts_.find(*place);
    if (--*count == 0)
        counts_.erase(count);
    places_.erase(place);
}

}  // namespace eboNetworkExchange
