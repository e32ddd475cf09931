#include "network/discovery/Sender.h"

#include "network/discovery/Beacon.h"
#include "runtime/logCategories.h"

#include <QHostInfo>
#include <QNetworkConfigurationManager>
#include <QUdpSocket>

#include <algorithm>
#include <utility>

// Qt calls its watch over networks deprecated from 5.15 on; in Qt 5 nothing else tells of changes.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace eboDiscoverer {

namespace {

constexpr qint64 kLateMilliseconds = 2000;  // between two greetings: something blocks the thread
constexpr int kSendMilliseconds = 30000;

}  // namespace

Sender::Sender(quint16 udpPort, const QUuid& uuid, QString applicationId, QString applicationVersion)
    : udpPort_(udpPort), timer_(this), uuid_(uuid), applicationId_(std::move(applicationId)),
      applicationVersion_(std::move(applicationVersion)),
      configurations_(std::make_unique<QNetworkConfigurationManager>())
{
    timer_.setInterval(kIntervalMilliseconds);
    connect(&timer_, &QTimer::timeout, this, &Sender::sendGreeting);
    for (const auto change : {&QNetworkConfigurationManager::configurationAdded,
                              &QNetworkConfigurationManager::configurationChanged,
                              &QNetworkConfigurationManager::configurationRemoved})
        connect(configurations_.get(), change, this, &Sender::configurationChanged);
}

Sender::~Sender() = default;

void Sender::start()
{
    greetingClock_.start();
    timer_.start();
    sendGreeting();
}

void Sender::stop()
{
    sendFarewell();
    timer_.stop();
}

qint64 Sender::sendGreeting()
{
    const qint64 bytes = send(Beacon::kHowdy);
    if (!greetingClock_.isValid()) {
        greetingClock_.start();
        return bytes;
    }
    if (const qint64 milliseconds = greetingClock_.restart(); milliseconds > kLateMilliseconds)
        qCWarning(ebo::log::discoverer) << "Late Greeting:" << milliseconds;
    return bytes;
}

qint64 Sender::sendFarewell() { return send(Beacon::kExit); }

void Sender::configurationChanged() { sendGreeting(); }

qint64 Sender::send(const QString& message) const
{
    const QByteArray datagram = toDatagram(
        {uuid_, QHostInfo::localHostName(), message, applicationId_, applicationVersion_, directoryPort_});
    if (datagram.size() > Beacon::kLongest)
        return 0;
    qint64 total = 0;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry& entry : entries) {
            if (!entry.ip().isLoopback())
                total += sendFrom(entry.ip(), interface, datagram);
        }
    }
    return total;
}

qint64 Sender::sendFrom(const QHostAddress& address, const QNetworkInterface& interface,
                        const QByteArray& datagram) const
{
    QUdpSocket socket;
    if (!socket.bind(address, 0)) {
        qCWarning(ebo::log::discoverer)
            << "Sender was unable to bind any port" << socket.error() << socket.errorString() << address;
        return 0;
    }
    socket.setMulticastInterface(interface);
    const qint64 sent = socket.writeDatagram(datagram, QHostAddress(QHostAddress::Broadcast), udpPort_);
    socket.waitForBytesWritten(kSendMilliseconds);
    return std::max<qint64>(sent, 0);
}

}  // namespace eboDiscoverer
