#pragma once

#include "network/exchange/SocketBudget.h"
#include "network/exchange/addressPairs.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>
#include <list>

namespace eboNetworkExchange {

/// Makes outgoing connections, each from a chosen address of this device. So many at a time: every attempt
/// costs a descriptor for as long as the other side does not answer. Those that have to wait go in turns,
/// the addresses with the fewest attempts first, and the longest heard devices first among equals; and if one
/// address holds more of them than another that waits, it gives one up. Network thread.
class Connector : public QObject {
    Q_OBJECT

public:
    static constexpr int kMostAttempts = 64;

    /// Attempts that may wait; beyond them, the next beacon is another chance.
    static constexpr int kMostWaiting = 1024;

    /// An attempt that takes longer is given up: a fresh one is answered sooner than one that the system
    /// repeats at ever longer intervals. Milliseconds.
    static constexpr int kPatience = 5000;

    struct Target {
        AddressPair pair;
        quint16 port = 0;
    };

    /// Takes a connected socket, which is the taker's from then on.
    using Connected = std::function<void(QTcpSocket* socket)>;

    /// Hears of a failure; the socket is not the hearer's.
    using Failed = std::function<void(const QTcpSocket& socket, QAbstractSocket::SocketError error)>;

    /// Gives place for a connection with this address. @return whether there is one now
    using MakeRoom = std::function<bool(const QHostAddress& peer)>;

    Connector(SocketBudget& budget, MakeRoom makeRoom);
    ~Connector() override;

    /// What to do, and for whom. Nothing is called any more once the owner has gone or has given up.
    struct Order {
        const QObject* owner;
        Target target;
        qint64 heardSince;  ///< On any clock: less is longer.
        Connected connected;
        Failed failed;
    };

    /// Begins a connection, now or later.
    /// @return false if there is an attempt to this end from this address already
    bool connectTo(Order order);

    /// Ends all attempts of one owner, or of all.
    void giveUp(const QObject* owner);
    void giveUpAll();

    [[nodiscard]] int underWay() const { return static_cast<int>(attempts_.size()); }

private:
    struct Wish {
        QPointer<const QObject> owner;
        Order order;
        QHostAddress peer;  // in its uniform form
    };
    struct Attempt {
        Wish wish;
        QTcpSocket* socket;  // a child of this
        QTimer* patience;    // of the socket
    };
    using Attempts = std::list<Attempt>;

    [[nodiscard]] bool isKnown(const Order& order) const;
    void startWaiting();
    [[nodiscard]] std::list<Wish>::iterator nextWish();
    bool preempt(const QHostAddress& peer);
    bool makeRoomToWait(const QHostAddress& peer);
    void start(Wish wish);
    void onConnected(QTcpSocket* socket);
    void onFailed(QTcpSocket* socket, QAbstractSocket::SocketError error);
    [[nodiscard]] Attempts::iterator find(const QTcpSocket* socket);
    void forget(Attempts::iterator attempt);
    void drop(Attempts::iterator attempt);

    SocketBudget& budget_;
    const MakeRoom makeRoom_;
    std::list<Wish> waiting_;
    Attempts attempts_;
    QHash<QHostAddress, int> attemptsTo_;
    QTimer again_;  // looks at those who wait, once this turn is over
};

}  // namespace eboNetworkExchange
