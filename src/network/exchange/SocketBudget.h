#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QTcpSocket>

namespace eboNetworkExchange {

/// Counts the connections with other devices, in all and for each address of theirs, so that one that opens
/// too many meets its limit long before the process has no descriptor left. Network thread.
class SocketBudget : public QObject {
    Q_OBJECT

public:
    /// Takes the totals from the descriptors that the process may have.
    SocketBudget();

    /// With totals of its own.
    SocketBudget(int most, int mostOfPeer) : most_(most), mostOfPeer_(mostOfPeer) {}

    [[nodiscard]] bool isFull() const { return places_.size() >= most_; }
    [[nodiscard]] bool isFullFor(const QHostAddress& peer) const { return count(peer) >= mostOfPeer_; }
    [[nodiscard]] int count(const QHostAddress& peer) const;
    [[nodiscard]] int count() const { return places_.size(); }

    /// Counts a connection until `leave` or its end. Counting one twice changes nothing.
    void enter(QTcpSocket* socket, const QHostAddress& peer);
    void leave(QObject* socket);

private:
    const int most_;
    const int mostOfPeer_;
    QHash<QObject*, QHostAddress> places_;
    QHash<QHostAddress, int> counts_;
};

}  // namespace eboNetworkExchange
