#include "network/exchange/Server.h"

#include "runtime/logCategories.h"

#include <QTimer>

#include <memory>

namespace eboNetworkExchange {

namespace {

// Long enough not to spin while descriptors are used up, short against what a connecting device waits.
constexpr int kPauseMilliseconds = 100;

}  // namespace

Server::Server() { connect(this, &QTcpServer::acceptError, this, &Server::onAcceptError); }

void Server::onAcceptError()
{
    // Qt stops accepting for good after an error.
    pauseAccepting();
    QTimer::singleShot(kPauseMilliseconds, this, [this] {
        if (isListening())
            resumeAccepting();
    });
}

QTcpSocket* Server::boundSocket(const QHostAddress& local, QObject* parent)
{
    auto socket = std::make_unique<QTcpSocket>(parent);
    if (!socket->bind(local, 0)) {
        qCWarning(ebo::log::networkDirectory) << "Unable to bind local address:" << local;
        return nullptr;
    }
    return socket.release();
}

}  // namespace eboNetworkExchange
