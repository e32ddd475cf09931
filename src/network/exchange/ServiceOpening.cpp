#include "network/exchange/ServiceOpening.h"

#include "network/exchange/TurnBudget.h"

#include <utility>

namespace eboNetworkExchange {

ServiceOpening::ServiceOpening(QTcpSocket* socket) : socket_(socket), again_(this)
{
    constexpr qint64 kBuffer = 4 * kLongest;
    socket_->setParent(this);
    socket_->setReadBufferSize(kBuffer);
    again_.setSingleShot(true);
    again_.setInterval(0);
    connect(&again_, &QTimer::timeout, this, &ServiceOpening::read);
    connect(socket_, &QTcpSocket::readyRead, this, &ServiceOpening::read);
    connect(socket_, &QTcpSocket::disconnected, this, [this] { Q_EMIT failed(this); });
    // What has come before anybody listened.
    again_.start();
}

ServiceOpening::~ServiceOpening()
{
    if (socket_ != nullptr)
        disconnect(socket_, nullptr, this, nullptr);
}

QTcpSocket* ServiceOpening::takeSocket()
{
    again_.stop();
    disconnect(socket_, nullptr, this, nullptr);
    socket_->setParent(nullptr);
    return std::exchange(socket_, nullptr);
}

void ServiceOpening::read()
{
    // Awaited whole: behind it come the packets of the stream, which are not to be touched.
    TurnBudget turn;
    while (socket_ != nullptr && socket_->bytesAvailable() > 0) {
        if (!turn.take()) {
            again_.start();
            return;
        }
        const auto parsed = parseMessage(socket_->peek(kLongest));
        if (!parsed) {
            if (socket_->bytesAvailable() >= kLongest)
                Q_EMIT failed(this);
            return;
        }
        socket_->read(parsed->size);
        if (parsed->message.type == DirectoryMessage::kServiceInfo) {
            Q_EMIT opened(this, parsed->message);
            return;
        }
    }
}

}  // namespace eboNetworkExchange
