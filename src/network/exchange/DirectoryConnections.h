#pragma once

#include "network/discovery/LocalAddresses.h"
#include "network/exchange/DirectoryConnection.h"
#include "network/exchange/SocketBudget.h"
#include "network/exchange/addressPairs.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpSocket>

namespace eboNetworkExchange {

/// All directory connections of this device, those of strangers among them. Owns them. Network thread.
class DirectoryConnections : public QObject {
    Q_OBJECT

public:
    /// @param budget  where they count; outlives this
    explicit DirectoryConnections(SocketBudget& budget) : budget_(budget) {}

    /// Takes a connected socket.
    /// @param meant  the device that it was made for; null for one that has come in
    DirectoryConnection& add(QTcpSocket* socket, const QUuid& meant);

    [[nodiscard]] DirectoryConnection* find(const QTcpSocket* socket) const;

    /// In order of arrival.
    [[nodiscard]] const QList<DirectoryConnection*>& all() const { return connections_; }
    [[nodiscard]] QList<ExistingConnection> ends() const;

    /// Those whose other end says that it is this device, and has not been believed yet.
    [[nodiscard]] QList<DirectoryConnection*> claiming(const QUuid& uuid) const;

    /// Ends one of which nothing can come any more, with a word in the log.
    void dropBroken(DirectoryConnection* connection);

    /// Ends the one that has been a stranger's for the longest time, of one address or of any.
    /// @param peer  null for any. @return whether there was one
    bool dropStranger(const QHostAddress* peer);

    /// Ends those that were made for a device and are still a stranger's.
    void dropStrangersMeantFor(const QUuid& uuid);

    /// Closes those whose local address has gone. The last connection is kept, wherever it comes from.
    void closeStale(const QList<LocalEntry>& entries);

    /// Sends a message on each, and drops those of which nothing comes any more. @return whether any has gone
    bool sendToAll(const DirectoryMessage& message);

    /// Closes all, without signals.
    void closeAll();

Q_SIGNALS:
    void received(eboNetworkExchange::DirectoryConnection* connection,
                  const eboNetworkExchange::DirectoryMessage& message);

    /// It is none of them any more, and about to end.
    void lost(eboNetworkExchange::DirectoryConnection* connection);
    void countChanged(int count);

private:
    void forget(DirectoryConnection* connection);

    SocketBudget& budget_;
    QList<DirectoryConnection*> connections_;  // children
};

}  // namespace eboNetworkExchange
