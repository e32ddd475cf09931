#pragma once

#include "network/exchange/ServiceOpening.h"
#include "network/exchange/SocketBudget.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpSocket>

namespace eboNetworkExchange {

/// The service connections that have not said yet what they are for; of too many, the oldest goes. Owns them.
/// Network thread.
class ServiceOpenings : public QObject {
    Q_OBJECT

public:
    /// @param budget  where they count; outlives this
    explicit ServiceOpenings(SocketBudget& budget) : budget_(budget) {}

    /// Takes a connected socket.
    void add(QTcpSocket* socket);

    /// Hands out the socket of one that has said what it is for. It still counts.
    [[nodiscard]] QTcpSocket* take(ServiceOpening* opening);

    void drop(ServiceOpening* opening);

    /// Ends the oldest, of one address or of any.
    /// @param peer  null for any. @return whether there was one
    bool dropOldest(const QHostAddress* peer);

    /// Closes all, without signals.
    void closeAll();

Q_SIGNALS:
    /// To be taken or dropped.
    void opened(eboNetworkExchange::ServiceOpening* opening,
                const eboNetworkExchange::DirectoryMessage& message);

private:
    SocketBudget& budget_;
    QList<ServiceOpening*> openings_;  // children, in order of arrival
};

}  // namespace eboNetworkExchange
