#include "network/exchange/DirectoryConnection.h"

#include "network/discovery/PeerBudget.h"
#include "network/exchange/TurnBudget.h"
#include "runtime/logCategories.h"

#include <QPointer>

namespace eboNetworkExchange {

using eboDiscoverer::PeerBudget;

DirectoryConnection::DirectoryConnection(QTcpSocket* socket, const QUuid& meant)
    : socket_(socket), meant_(meant), again_(this)
{
    socket_->setParent(this);
    socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket_->setReadBufferSize(PeerBudget::kUnreadBytes);
    again_.setSingleShot(true);
    again_.setInterval(0);
    connect(&again_, &QTimer::timeout, this, &DirectoryConnection::read);
    connect(socket_, &QTcpSocket::readyRead, this, &DirectoryConnection::read);
    connect(socket_, &QTcpSocket::disconnected, this, [this] { Q_EMIT disconnected(this); });
    // What has come before anybody listened.
    again_.start();
}

DirectoryConnection::~DirectoryConnection() { disconnect(socket_, nullptr, this, nullptr); }

bool DirectoryConnection::send(const DirectoryMessage& message)
{
    socket_->write(toBytes(message));
    return socket_->flush();
}

bool DirectoryConnection::isSound() const
{
    return socket_->isOpen() && socket_->state() == QAbstractSocket::ConnectedState &&
           socket_->isWritable() && socket_->bytesToWrite() <= PeerBudget::kUnreadBytes;
}

void DirectoryConnection::read()
{
    const QPointer<DirectoryConnection> self(this);
    TurnBudget turn;
    while (socket_->bytesAvailable() > 0) {
        if (!turn.take()) {
            again_.start();
            return;
        }
        // A message that came in pieces is lost: nothing tells where the next one begins. They are small,
        // sent whole and with low delay.
        if (const auto message = takeMessage(*socket_))
            Q_EMIT messageReceived(this, *message);
        if (!self)
            return;
        // Answers to one who asks and never reads would pile up.
        if (socket_->bytesToWrite() > PeerBudget::kUnreadBytes) {
            Q_EMIT becameDeaf(this);
            return;
        }
    }
}

}  // namespace eboNetworkExchange
