#pragma once

#include <QByteArray>
#include <QObject>
#include <QTcpSocket>

#include <cstdint>

/// The connection to the host, in whole messages and whole commands. Main thread only.
///
/// A slot that is called with a command may send, and so may any other; a send that has to wait for the host
/// never leads to a further command before the sender has returned.
class HostConnection : public QObject {
    Q_OBJECT

public:
    HostConnection();
    ~HostConnection() override;

    /// Begins to connect to the host on the loopback address; does not wait.
    void connectToHost(std::uint16_t port);

    /// Sends a message. What an earlier one left behind goes first, for which it waits up to 15 s. The new
    /// one is on its way when this returns, unless the host does not read.
    void send(std::uint32_t messageId, const QByteArray& payload = {});

Q_SIGNALS:
    /// Commands come in order. Those that lie in one buffer come one after the other, also behind a quit.
    void commandReceived(quint32 id, const QByteArray& payload);

    /// The connection is lost, or could not be made.
    void lost();

private Q_SLOTS:
    void onSocketConnected();
    void onError(QAbstractSocket::SocketError error);
    void onReadyRead();

private:
    QTcpSocket socket_;
    const std::uint32_t streamTag_ = 0;
    bool isSending_ = false;
    bool commandsWait_ = false;  ///< Arrived meanwhile.
};
