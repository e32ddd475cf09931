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
      applicationVersion_(std::move(applicationVersion))
{
    timer_.setInterval(kIntervalMilliseconds);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &Sender::sendGreeting);
    auto* const configurations = new QNetworkConfigurationManager(this);
    for (const auto change : {&QNetworkConfigurationManager::configurationAdded,
                              &QNetworkConfigurationManager::configurationChanged,
                              &QNetworkConfigurationManager::configurationRemoved})
        connect(configurations, change, this, &Sender::configurationChanged);
}

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

void Sender::answerNewcomer()
{
    if (!answerClock_.isValid())
        answerClock_.start();
    if (const auto seconds = answerClock_.elapsed() / kIntervalMilliseconds; seconds > 0) {
        answersSaved_ = static_cast<int>(std::min<qint64>(kMostAnswersSaved, answersSaved_ + seconds));
        answerClock_.start();
    }
    if (answersSaved_ == 0)
        return;
    --answersSaved_;
    sendGreeting();
}

void Sender::configurationChanged()
{
    addresses_.expire();
    sendGreeting();
}

qint64 Sender::send(const QString& message)
{
    const QByteArray datagram = toDatagram(
        {uuid_, QHostInfo::localHostName(), message, applicationId_, applicationVersion_, directoryPort_});
    const LocalAddresses::Entries entries = addresses_.entries();
    if (datagram.size() > Beacon::kLongest || !entries)
        return 0;
    qint64 total = 0;
    for (const LocalEntry& entry : *entries) {
        if (!entry.ip.isLoopback())
            total += sendFrom(entry, datagram);
    }
    return total;
}

qint64 Sender::sendFrom(const LocalEntry& entry, const QByteArray& datagram) const
{
    QUdpSocket socket;
    if (!socket.bind(entry.ip, 0)) {
        qCWarning(ebo::log::discoverer)
            << "Sender was unable to bind any port" << socket.error() << socket.errorString() << entry.ip;
        return 0;
    }
    socket.setMulticastInterface(entry.interface);
    const qint64 sent = socket.writeDatagram(datagram, QHostAddress(QHostAddress::Broadcast), udpPort_);
    socket.waitForBytesWritten(kSendMilliseconds);
    return std::max<qint64>(sent, 0);
}

}  // namespace eboDiscoverer
