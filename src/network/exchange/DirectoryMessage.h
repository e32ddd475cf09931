#pragma once

#include <QByteArray>
#include <QDebug>
#include <QIODevice>
#include <QString>
#include <QUuid>
#include <QtGlobal>

#include <cstdint>
#include <optional>

namespace eboNetworkExchange {

/// What two devices say to each other on a directory connection. The bytes have no frame and no length: one
/// message follows the other. A message of type kServiceInfo also opens every service connection.
struct DirectoryMessage {
    enum Type : std::int32_t {
        kServiceInfo = 0,  ///< I offer this service; or: this connection is for that service.
        kPing = 1,         ///< How long is the way? Comes back with the responder's uuid.
        kWhois = 2,        ///< This is who I am.
    };

    std::int32_t type = kWhois;  ///< Other numbers than Type's arrive from devices of other makes.
    QUuid hostUuid;              ///< The sender; in a ping's echo still the one who asked.

    QString serviceId;  ///< kServiceInfo.
    quint16 port = 0;   ///< kServiceInfo: TCP port of the service.

    QUuid responderUuid;   ///< kPing: null in the question.
    qint64 timeStamp = 0;  ///< kPing: nanoseconds on the clock of the one who asked.
};

/// The bytes of a message: type, uuid in RFC 4122 order, then what the type has, all big-endian.
[[nodiscard]] QByteArray toBytes(const DirectoryMessage& message);

/// Takes one message from what a connection holds at this moment.
/// @return nothing, with what was there used up, if that was less than a message
[[nodiscard]] std::optional<DirectoryMessage> takeMessage(QIODevice& connection);

/// A message at the beginning of some bytes, and how many of them it has.
struct ParsedMessage {
    DirectoryMessage message;
    int size = 0;
};

/// @return nothing if the bytes are only the beginning of a message
[[nodiscard]] std::optional<ParsedMessage> parseMessage(const QByteArray& bytes);

QDebug operator<<(QDebug debug, const DirectoryMessage& message);

}  // namespace eboNetworkExchange
