#pragma once

#include <QSocketNotifier>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <deque>
#include <memory>

namespace eboNetworkExchange {

/// A listener that takes connections in by itself: Qt's own way of it spins for ever once the descriptors are
/// used up, if it has taken one in before. Here the listening stops then, and is tried again each second.
/// Lives on the network thread.
class Server : public QTcpServer {
    Q_OBJECT

public:
    /// Connections that are taken in per turn of the event loop.
    static constexpr int kMostATurn = 64;
    static constexpr int kPauseMilliseconds = 1000;

    Server();

    /// Listens on all addresses, on a port that the system chooses.
    [[nodiscard]] bool startListening();

    /// Takes no more connections; what waits to be fetched ends.
    void stopListening();

Q_SIGNALS:
    /// Connections wait to be fetched by `nextConnection`.
    void connectionsWait();

protected:
    /// The next connection; null if none waits. Its parent is this.
    [[nodiscard]] QTcpSocket* nextConnection();

private:
    void acceptWaiting();
    void pause();

    std::unique_ptr<QSocketNotifier> notifier_;
    QTimer pause_;
    std::deque<QTcpSocket*> waiting_;  // children of this
};

}  // namespace eboNetworkExchange
