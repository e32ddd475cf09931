#include "app/HostConnection.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"

#include <QHostAddress>

#include <utility>

using namespace eboOfflineAnalysisProtocol;

HostConnection::HostConnection()
{
    connect(&socket_, &QTcpSocket::connected, this, &HostConnection::onSocketConnected);
    connect(&socket_, &QTcpSocket::disconnected, this, &HostConnection::lost);
    connect(&socket_, &QTcpSocket::errorOccurred, this, &HostConnection::onError);
}

HostConnection::~HostConnection()
{
    // Its end is our own wish, and nobody is left to be told.
    socket_.disconnect(this);
}

void HostConnection::connectToHost(std::uint16_t port)
{
    socket_.connectToHost(QHostAddress(QHostAddress::LocalHost), port, QIODevice::ReadWrite);
}

void HostConnection::onSocketConnected()
{
    // Each message goes out by itself and at once: gathering them was measured to gain nothing, and one that
    // is held back while this thread is busy comes late.
    socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(&socket_, &QTcpSocket::readyRead, this, &HostConnection::onReadyRead);
}

void HostConnection::onError(QAbstractSocket::SocketError error)
{
    // A host that has not read for as long as a send waits is slow, not gone.
    const bool isOnlySlow =
        error == QAbstractSocket::SocketTimeoutError && socket_.state() == QAbstractSocket::ConnectedState;
    if (!isOnlySlow)
        Q_EMIT lost();
}

void HostConnection::onReadyRead()
{
    // A send that waits lets the socket read on, inside whatever sends. That comes to its end first.
    if (isSending_) {
        commandsWait_ = true;
        return;
    }
    for (auto [id, payload] = nextCommand(&socket_); id != 0; std::tie(id, payload) = nextCommand(&socket_))
        Q_EMIT commandReceived(id, payload);
}

void HostConnection::send(std::uint32_t messageId, const QByteArray& payload)
{
    isSending_ = true;
    sendMessage(&socket_, streamTag_, messageId, payload);
    // On its way at once if the connection takes it: that spares the next message the wait for this one.
    socket_.flush();
    isSending_ = false;
    if (std::exchange(commandsWait_, false))
        QMetaObject::invokeMethod(this, &HostConnection::onReadyRead, Qt::QueuedConnection);
}
