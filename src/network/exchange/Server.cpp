#include "network/exchange/Server.h"

#include "runtime/logCategories.h"

#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace eboNetworkExchange {

Server::Server() : pause_(this)
{
    pause_.setSingleShot(true);
    pause_.setInterval(kPauseMilliseconds);
    connect(&pause_, &QTimer::timeout, this, &Server::acceptWaiting);
}

bool Server::startListening()
{
    if (!listen(QHostAddress::Any, 0))
        return false;
    pauseAccepting();  // Qt's own
    const auto descriptor = static_cast<int>(socketDescriptor());
    // Qt lets 50 connections wait, and a device whose connection finds no room is lost for a second or more.
    ::listen(descriptor, SOMAXCONN);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &Server::acceptWaiting);
    return true;
}

void Server::stopListening()
{
    notifier_.reset();
    pause_.stop();
    close();
    for (QTcpSocket* const socket : std::exchange(waiting_, {}))
        socket->deleteLater();
}

QTcpSocket* Server::nextConnection()
{
    if (waiting_.empty())
        return nullptr;
    QTcpSocket* const socket = waiting_.front();
    waiting_.pop_front();
    return socket;
}

void Server::acceptWaiting()
{
    if (!notifier_)
        return;
    notifier_->setEnabled(true);
    for (int count = 0; count < kMostATurn; ++count) {
        const int descriptor =
            ::accept4(static_cast<int>(socketDescriptor()), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (descriptor < 0) {
            // Nobody waits, or somebody has left while waiting; otherwise the system lacks something.
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
                pause();
            break;
        }
        auto socket = std::make_unique<QTcpSocket>(this);
        if (socket->setSocketDescriptor(descriptor))
            waiting_.push_back(socket.release());
        else
            ::close(descriptor);
    }
    if (!waiting_.empty())
        Q_EMIT connectionsWait();
}

void Server::pause()
{
    qCWarning(ebo::log::networkServer) << "No descriptor is left for a connection to port" << serverPort();
    notifier_->setEnabled(false);
    pause_.start();
    Q_EMIT acceptError(QAbstractSocket::SocketResourceError);
}

}  // namespace eboNetworkExchange
