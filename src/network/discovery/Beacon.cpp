#include "network/discovery/Beacon.h"

#include <QDataStream>

#include <array>

namespace eboDiscoverer {

namespace {

constexpr std::array<qint8, 4> kMagic{'e', 'b', 'o', 'D'};
constexpr int kStreamVersion = QDataStream::Qt_5_5;
static_assert(kStreamVersion == 16, "the number that all devices have agreed on");

}  // namespace

QByteArray toDatagram(const Beacon& beacon)
{
    QByteArray datagram;
    QDataStream stream(&datagram, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    for (const qint8 letter : kMagic)
        stream << letter;
    stream << beacon.uuid << beacon.hostName << beacon.message << beacon.applicationId
           << beacon.applicationVersion << beacon.port;
    return datagram;
}

std::optional<Beacon> beaconFrom(const QByteArray& datagram)
{
    QDataStream stream(datagram);
    stream.setVersion(kStreamVersion);
    for (const qint8 expected : kMagic) {
        qint8 letter = 0;
        stream >> letter;
        if (letter != expected)
            return std::nullopt;
    }
    Beacon beacon;
    stream >> beacon.uuid >> beacon.hostName >> beacon.message >> beacon.applicationId >>
        beacon.applicationVersion >> beacon.port;
    return beacon;
}

}  // namespace eboDiscoverer
