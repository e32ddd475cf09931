#include "network/exchange/ServiceOpenings.h"

#include "network/discovery/PeerBudget.h"
#include "network/discovery/sameAddress.h"

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

void ServiceOpenings::add(QTcpSocket* socket)
{
    if (openings_.size() >= eboDiscoverer::PeerBudget::kOpenings)
        drop(openings_.first());
    budget_.enter(socket, socket->peerAddress());
    auto* const opening = new ServiceOpening(socket);
    opening->setParent(this);
    openings_.append(opening);
    connect(opening, &ServiceOpening::opened, this, &ServiceOpenings::opened);
    connect(opening, &ServiceOpening::failed, this, &ServiceOpenings::drop);
}

QTcpSocket* ServiceOpenings::take(ServiceOpening* opening)
{
    disconnect(opening, nullptr, this, nullptr);
    openings_.removeOne(opening);
    opening->deleteLater();
    return opening->takeSocket();
}

void ServiceOpenings::drop(ServiceOpening* opening)
{
    disconnect(opening, nullptr, this, nullptr);
    openings_.removeOne(opening);
    budget_.leave(opening->socket());
    opening->socket()->abort();
    opening->deleteLater();
}

bool ServiceOpenings::dropOldest(const QHostAddress* peer)
{
    const auto oldest = std::find_if(openings_.cbegin(), openings_.cend(), [peer](const auto* opening) {
        return peer == nullptr || eboDiscoverer::sameAddress(opening->peer(), *peer);
    });
    if (oldest == openings_.cend())
        return false;
    drop(*oldest);
    return true;
}

void ServiceOpenings::closeAll()
{
    for (ServiceOpening* const opening : std::exchange(openings_, {})) {
        disconnect(opening, nullptr, this, nullptr);
        opening->socket()->disconnectFromHost();
        opening->deleteLater();
    }
}

}  // namespace eboNetworkExchange
