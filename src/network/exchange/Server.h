#pragma once

#include <QTcpServer>
#include <QTcpSocket>

namespace eboNetworkExchange {

/// A listener that goes on listening when the system has no descriptor left for a connection, and the makings
/// of outgoing connections from a chosen address. Lives on the network thread.
class Server : public QTcpServer {
    Q_OBJECT

public:
    Server();

    /// A socket bound to one of this device's addresses, for a connection that is to go out there; null, with
    /// a warning, if that address is not there any more. @param parent  owns it
    [[nodiscard]] static QTcpSocket* boundSocket(const QHostAddress& local, QObject* parent);

private Q_SLOTS:
    void onAcceptError();
};

}  // namespace eboNetworkExchange
