#pragma once

#include "network/exchange/Server.h"
#include "runtime/refcounted.h"

#include <QString>
#include <QTcpSocket>

namespace eboNetworkExchange {

/// Listens for connections to one service of this device. Lives on the network thread.
class ServiceServer : public Server, public ebo::refcounted {
    Q_OBJECT

public:
    /// @param lowDelay  whether small packets leave at once instead of being gathered
    ServiceServer(QString serviceId, bool lowDelay);

    [[nodiscard]] const QString& serviceId() const { return serviceId_; }

Q_SIGNALS:
    /// Whoever hears this owns the socket.
    void newServiceRequest(QString serviceId, QTcpSocket* tcpSocket);

private Q_SLOTS:
    void onNewConnection();

private:
    const QString serviceId_;
    const bool lowDelay_;
};

}  // namespace eboNetworkExchange
