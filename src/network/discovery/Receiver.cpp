#include "network/discovery/Receiver.h"

#include "network/discovery/Beacon.h"
#include "runtime/logCategories.h"

#include <optional>

namespace eboDiscoverer {

namespace {

constexpr int kMostATurn = 256;  // a millisecond or so

}  // namespace

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
    // At least one, whatever it holds: a socket that is left without a read does not signal again. And not
    // without end: the timers of this thread are to have their turn while others talk.
    for (int count = 0; count < kMostATurn && socket_.hasPendingDatagrams(); ++count)
        hear(socket_.receiveDatagram(Beacon::kLongest + 1));
}

void Receiver::hear(const QNetworkDatagram& datagram)
{
    const QHostAddress sender = datagram.senderAddress();
    const QByteArray bytes = datagram.data();
    if (sender.isLoopback() || bytes.size() > Beacon::kLongest)
        return;
    const std::optional<Beacon> beacon = beaconFrom(bytes);
    if (!beacon)
        return;
    if (beacon->message == Beacon::kHowdy)
        Q_EMIT newHost(beacon->uuid, sender, beacon->hostName, beacon->port, beacon->applicationId,
                       beacon->applicationVersion);
    else if (beacon->message == Beacon::kExit)
        Q_EMIT removeHost(beacon->uuid, sender);
}

void Receiver::onError(QAbstractSocket::SocketError socketError)
{
    qCWarning(ebo::log::discoverer) << "Receiver UDP Socket error:" << socketError << socket_.errorString();
}

}  // namespace eboDiscoverer
