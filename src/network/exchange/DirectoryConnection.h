#pragma once

#include "network/exchange/DirectoryMessage.h"
#include "network/exchange/connectionPolicy.h"

#include <QHostAddress>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>
#include <QUuid>

namespace eboNetworkExchange {

/// One directory connection: messages to and fro, so many a turn that others have theirs too, and who the
/// other end says it is. Owns its socket. Lives on the network thread.
class DirectoryConnection : public QObject {
    Q_OBJECT

public:
    /// @param socket  connected; this one's from now on
    /// @param meant   the device that it was made for; null for one that has come in
    DirectoryConnection(QTcpSocket* socket, const QUuid& meant);
    ~DirectoryConnection() override;

    [[nodiscard]] QTcpSocket* socket() const { return socket_; }
    [[nodiscard]] const QUuid& meant() const { return meant_; }
    [[nodiscard]] Direction direction() const
    {
        return meant_.isNull() ? Direction::kIncoming : Direction::kOutgoing;
    }
    [[nodiscard]] QHostAddress local() const { return socket_->localAddress(); }
    [[nodiscard]] QHostAddress peer() const { return socket_->peerAddress(); }

    /// Who the other end has last said it is, as long as nobody has found that to be so; otherwise null.
    [[nodiscard]] const QUuid& claim() const { return claim_; }
    void setClaim(const QUuid& uuid) { claim_ = uuid; }

    /// Whether no claim has been found to be so yet.
    [[nodiscard]] bool isStranger() const { return isStranger_; }

    /// The claim is so.
    void confirmClaim()
    {
        isStranger_ = false;
        claim_ = {};
    }

    /// Writes a message and lets it leave at once. @return whether it did
    bool send(const DirectoryMessage& message);

    /// Whether something can still come of it: it is connected, and the other end reads what it is sent.
    [[nodiscard]] bool isSound() const;

Q_SIGNALS:
    void messageReceived(eboNetworkExchange::DirectoryConnection* connection,
                         const eboNetworkExchange::DirectoryMessage& message);

    /// It has ended.
    void disconnected(eboNetworkExchange::DirectoryConnection* connection);

    /// The other end asks and does not read the answers.
    void becameDeaf(eboNetworkExchange::DirectoryConnection* connection);

private:
    void read();

    QTcpSocket* const socket_;  // a child
    const QUuid meant_;
    QUuid claim_;
    bool isStranger_ = true;
    QTimer again_;  // reads on in the next turn
};

}  // namespace eboNetworkExchange
