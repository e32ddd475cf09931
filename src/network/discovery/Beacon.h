#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>
#include <QUuid>
#include <QtGlobal>

#include <optional>

namespace eboDiscoverer {

/// What a device tells of itself, once a second, to everybody on its networks.
struct Beacon {
    /// The messages that have a meaning; every other one is ignored.
    static constexpr QLatin1String kHowdy{"DISCOVERER_HOWDY_", 17};  ///< I am here.
    static constexpr QLatin1String kExit{"DISCOVERER_EXIT_", 16};    ///< I am leaving.

    /// Beacons above this size are not sent, so that no network has to cut them up, and none are heard.
    /// Bytes.
    static constexpr int kLongest = 512;

    QUuid uuid;
    QString hostName;
    QString message;
    QString applicationId;
    QString applicationVersion;
    quint16 port = 0;  ///< TCP port of the sender's directory server; 0 if it has none.
};

/// The bytes of a beacon: the magic "eboD", the uuid in RFC 4122 order, the four strings (each a 32-bit size
/// in bytes and UTF-16 code units; a null string is the size 0xFFFFFFFF alone) and the port, all big-endian.
[[nodiscard]] QByteArray toDatagram(const Beacon& beacon);

/// Reads a beacon. What is missing at a truncated one's end is null, empty or 0; nothing without the magic.
[[nodiscard]] std::optional<Beacon> beaconFrom(const QByteArray& datagram);

}  // namespace eboDiscoverer
