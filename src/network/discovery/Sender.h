#pragma once

#include "network/discovery/LocalAddresses.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUuid>

namespace eboDiscoverer {

/// Tells the networks once a second that this device is here. Lives on the discovery thread.
///
/// Keeps no socket between beacons, so addresses may come and go. A network that comes up is greeted at once.
class Sender : public QObject {
    Q_OBJECT

public:
    static constexpr int kIntervalMilliseconds = 1000;

    /// How many newcomers in a row are greeted at once: a host that analyses one short track of ours after
    /// the other comes as a new device each time.
    static constexpr int kMostAnswersSaved = 32;

    /// @param udpPort  where the beacons go, on every network's limited broadcast address
    Sender(quint16 udpPort, const QUuid& uuid, QString applicationId, QString applicationVersion);

    /// The TCP port that beacons name; 0 until it is set.
    void setDirectoryPort(quint16 port) { directoryPort_ = port; }

public Q_SLOTS:
    /// Greets now, and from now on every second.
    void start();

    /// Takes leave, and sends nothing more.
    void stop();

    /// Sends one beacon that says hello, by every address but those of loopback.
    /// @return bytes sent in all: 0 without an address, or if the beacon is too long to be sent at all
    qint64 sendGreeting();

    /// The same for a beacon that says goodbye.
    qint64 sendFarewell();

    /// Greets a newcomer, in the long run one a second: for more, the next beacon is near enough, and nobody
    /// is to make this device talk more than it would anyway.
    void answerNewcomer();

    /// A network has come, changed or gone: greets at once.
    void configurationChanged();

Q_SIGNALS:
    /// Part of the interface; the sender itself never emits it.
    void stopPingThread();

private:
    qint64 send(const QString& message);
    [[nodiscard]] qint64 sendFrom(const LocalEntry& entry, const QByteArray& datagram) const;

    const quint16 udpPort_;
    QTimer timer_;
    const QUuid uuid_;
    const QString applicationId_;
    const QString applicationVersion_;
    quint16 directoryPort_ = 0;
    LocalAddresses addresses_;
    QElapsedTimer greetingClock_;  // since the last greeting
    QElapsedTimer answerClock_;    // since the last answer was saved up
    int answersSaved_ = kMostAnswersSaved;
};

}  // namespace eboDiscoverer
