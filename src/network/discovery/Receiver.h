#pragma once

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QObject>
#include <QUdpSocket>
#include <QUuid>

namespace eboDiscoverer {

/// Listens to the beacons of other devices. Lives on the discovery thread.
class Receiver : public QObject {
    Q_OBJECT

public:
    Receiver();

    /// Listens on the port, which other processes may share. Without success it says so in the log and stays
    /// mute.
    void listen(quint16 port);

Q_SIGNALS:
    /// A device says that it is there.
    void newHost(QUuid uuid, QHostAddress address, QString name, quint16 port, QString appId,
                 QString appVersion);

    /// A device says that it leaves.
    void removeHost(QUuid uuid, QHostAddress address);

private Q_SLOTS:
    void processPendingDatagrams();
    void onError(QAbstractSocket::SocketError socketError);

private:
    void hear(const QNetworkDatagram& datagram);

    QUdpSocket socket_;
};

}  // namespace eboDiscoverer
