#pragma once

#include "network/exchange/DirectoryMessage.h"

#include <QHostAddress>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

namespace eboNetworkExchange {

/// A service connection that has come in and has not said yet which service of whom it is for. Owns its
/// socket until that is taken. Lives on the network thread.
class ServiceOpening : public QObject {
    Q_OBJECT

public:
    /// What the first message of a service connection may need. Bytes.
    static constexpr qint64 kLongest = 1024;

    /// @param socket  connected; this one's from now on
    explicit ServiceOpening(QTcpSocket* socket);
    ~ServiceOpening() override;

    [[nodiscard]] QTcpSocket* socket() const { return socket_; }
    [[nodiscard]] QHostAddress peer() const { return socket_->peerAddress(); }

    /// The socket, which is the taker's from now on, with what follows the opening unread.
    [[nodiscard]] QTcpSocket* takeSocket();

Q_SIGNALS:
    void opened(eboNetworkExchange::ServiceOpening* opening,
                const eboNetworkExchange::DirectoryMessage& message);

    /// It has ended, or what it says is no opening.
    void failed(eboNetworkExchange::ServiceOpening* opening);

private:
    void read();

    QTcpSocket* socket_;  // a child; null once it is taken
    QTimer again_;
};

}  // namespace eboNetworkExchange
