#pragma once

#include <QHash>
#include <QList>
#include <QTcpSocket>
#include <QUuid>

namespace eboNetworkExchange {

/// Sockets whose other end has said who it is, before discovery has heard of that device. Network thread
/// only.
class WaitingSockets {
public:
    /// As many as may wait: anybody can claim any name.
    static constexpr int kMost = 1024;

    /// Notes a socket, under the last name it gave itself. Beyond kMost it is not noted.
    void add(const QUuid& uuid, QTcpSocket* socket)
    {
        if (names_.contains(socket) || names_.size() < kMost)
            names_.insert(socket, uuid);
    }

    void remove(QTcpSocket* socket) { names_.remove(socket); }

    /// All that wait under a name, which wait no longer.
    QList<QTcpSocket*> take(const QUuid& uuid)
    {
        const QList<QTcpSocket*> sockets = names_.keys(uuid);
        for (QTcpSocket* const socket : sockets)
            names_.remove(socket);
        return sockets;
    }

    void clear() { names_.clear(); }
    [[nodiscard]] int size() const { return names_.size(); }

private:
    QHash<QTcpSocket*, QUuid> names_;
};

}  // namespace eboNetworkExchange
