#include "network/discovery/Receiver.h"

#include "network/discovery/Beacon.h"
#include "runtime/logCategories.h"

#include <QNetworkDatagram>

namespace eboDiscoverer {

Receiver::Receiver() : socket_(this) {}

void Receiver::listen(quint16 port)
{
    if (!socket_.bind(port, QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint))
        qCWarning(ebo::log::discoverer) << "Receiver failed to bind port:" << port;
    if (!connect(&socket_, &QUdpSocket::readyRead, this, &Receiver::processPendingDatagrams))
        qCWarning(ebo::log::discoverer) << "Receiver failed to establish connection with UDP Socket";
    connect(&socket_, &QAbstractSocket::errorOccurred, this, &Receiver::onError);
}

void Receiver::processPendingDatagrams()
{
    // All of them, whatever they hold: a socket that is left with one does not signal again.
    while (socket_.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket_.receiveDatagram();
        if (datagram.senderAddress().isLoopback())
            continue;
        const std::optional<Beacon> beacon = beaconFrom(datagram.data());
        if (!beacon)
            continue;
        if (beacon->message == Beacon::kHowdy)
            Q_EMIT newHost(beacon->uuid, datagram.senderAddress(), beacon->hostName, beacon->port,
                           beacon->applicationId, beacon->applicationVersion);
        else if (beacon->message == Beacon::kExit)
            Q_EMIT removeHost(beacon->uuid);
    }
}

void Receiver::onError(QAbstractSocket::SocketError socketError)
{
    qCWarning(ebo::log::discoverer) << "Receiver UDP Socket error:" << socketError << socket_.errorString();
}

}  // namespace eboDiscoverer
