#include "network/exchange/ServiceServer.h"

#include <utility>

namespace eboNetworkExchange {

ServiceServer::ServiceServer(QString serviceId, bool lowDelay)
    : serviceId_(std::move(serviceId)), lowDelay_(lowDelay)
{
    connect(this, &Server::connectionsWait, this, &ServiceServer::onNewConnection);
}

void ServiceServer::onNewConnection()
{
    while (QTcpSocket* const socket = nextConnection()) {
        if (lowDelay_)
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        Q_EMIT newServiceRequest(serviceId_, socket);
    }
}

}  // namespace eboNetworkExchange
