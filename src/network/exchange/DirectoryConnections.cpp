#include "network/exchange/DirectoryConnections.h"

#include "network/discovery/sameAddress.h"
#include "runtime/logCategories.h"

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

using eboDiscoverer::sameAddress;

DirectoryConnection& DirectoryConnections::add(QTcpSocket* socket, const QUuid& meant)
{
    budget_.enter(socket, socket->peerAddress());
    auto* const connection = new DirectoryConnection(socket, meant);
    connection->setParent(this);
    connections_.append(connection);
    connect(connection, &DirectoryConnection::messageReceived, this, &DirectoryConnections::received);
    connect(connection, &DirectoryConnection::becameDeaf, this, &DirectoryConnections::dropBroken);
    connect(connection, &DirectoryConnection::disconnected, this, [this](DirectoryConnection* ended) {
        qCInfo(ebo::log::networkConnection) << "Socket Disconnected:" << ended->peer();
        forget(ended);
    });
    Q_EMIT countChanged(connections_.size());
    return *connection;
}

DirectoryConnection* DirectoryConnections::find(const QTcpSocket* socket) const
{
    const auto entry =
        std::find_if(connections_.begin(), connections_.end(),
                     [socket](const DirectoryConnection* known) { return known->socket() == socket; });
    return entry == connections_.end() ? nullptr : *entry;
}

QList<ExistingConnection> DirectoryConnections::ends() const
{
    QList<ExistingConnection> result;
    for (const DirectoryConnection* const connection : connections_)
        result.append({connection->local(), connection->peer(), connection->socket()->peerPort()});
    return result;
}

QList<DirectoryConnection*> DirectoryConnections::claiming(const QUuid& uuid) const
{
    QList<DirectoryConnection*> result;
    for (DirectoryConnection* const connection : connections_) {
        if (connection->claim() == uuid)
            result.append(connection);
    }
    return result;
}

void DirectoryConnections::forget(DirectoryConnection* connection)
{
    disconnect(connection, nullptr, this, nullptr);
    budget_.leave(connection->socket());
    connections_.removeOne(connection);
    Q_EMIT lost(connection);
    Q_EMIT countChanged(connections_.size());
    connection->deleteLater();
}

void DirectoryConnections::dropBroken(DirectoryConnection* connection)
{
    qCWarning(ebo::log::networkDirectory) << "Found broken socket.";
    forget(connection);
    connection->socket()->abort();
}

bool DirectoryConnections::dropStranger(const QHostAddress* peer)
{
    const auto stranger = std::find_if(
        connections_.cbegin(), connections_.cend(), [peer](const DirectoryConnection* connection) {
            return connection->isStranger() && (peer == nullptr || sameAddress(connection->peer(), *peer));
        });
    if (stranger == connections_.cend())
        return false;
    dropBroken(*stranger);
    return true;
}

void DirectoryConnections::dropStrangersMeantFor(const QUuid& uuid)
{
    const QList<DirectoryConnection*> connections = connections_;
    for (DirectoryConnection* const connection : connections) {
        if (!connections_.contains(connection) || !connection->isStranger() || connection->meant() != uuid)
            continue;
        forget(connection);
        connection->socket()->abort();
    }
}

void DirectoryConnections::closeStale(const QList<LocalEntry>& entries)
{
    constexpr int kFewest = 2;
    if (connections_.size() < kFewest)
        return;
    const QList<DirectoryConnection*> connections = connections_;
    for (DirectoryConnection* const connection : connections) {
        if (connections_.contains(connection) && !isLocal(connection->local(), entries))
            connection->socket()->disconnectFromHost();
    }
}

bool DirectoryConnections::sendToAll(const DirectoryMessage& message)
{
    bool anyLost = false;
    const QList<DirectoryConnection*> connections = connections_;
    for (DirectoryConnection* const connection : connections) {
        if (!connections_.contains(connection))
            continue;  // lost on the way
        if (!connection->isSound()) {
            dropBroken(connection);
            anyLost = true;
        } else if (!connection->send(message)) {
            qCWarning(ebo::log::networkDirectory) << "onPingTimerTimeout: Unable to flush socket.";
            if (connections_.contains(connection)) {
                forget(connection);
                connection->socket()->abort();
            }
            anyLost = true;
        }
    }
    return anyLost;
}

void DirectoryConnections::closeAll()
{
    for (DirectoryConnection* const connection : std::exchange(connections_, {})) {
        disconnect(connection, nullptr, this, nullptr);
        connection->socket()->disconnectFromHost();
        connection->deleteLater();
    }
}

}  // namespace eboNetworkExchange
