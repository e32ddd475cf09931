#include "network/exchange/DirectoryMessage.h"

#include <QDataStream>

namespace eboNetworkExchange {

namespace {

constexpr int kStreamVersion = QDataStream::Qt_5_5;
static_assert(kStreamVersion == 16, "the number that all devices have agreed on");

/// Reads a message; the stream's status tells whether it was whole.
DirectoryMessage read(QDataStream& stream)
{
    stream.setVersion(kStreamVersion);
    DirectoryMessage message;
    stream >> message.type >> message.hostUuid;
    if (message.type == DirectoryMessage::kServiceInfo)
        stream >> message.serviceId >> message.port;
    else if (message.type == DirectoryMessage::kPing)
        stream >> message.responderUuid >> message.timeStamp;
    return message;
}

}  // namespace

QByteArray toBytes(const DirectoryMessage& message)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << message.type << message.hostUuid;
    if (message.type == DirectoryMessage::kServiceInfo)
        stream << message.serviceId << message.port;
    else if (message.type == DirectoryMessage::kPing)
        stream << message.responderUuid << message.timeStamp;
    return bytes;
}

std::optional<DirectoryMessage> takeMessage(QIODevice& connection)
{
    QDataStream stream(&connection);
    DirectoryMessage message = read(stream);
    if (stream.status() != QDataStream::Ok)
        return std::nullopt;
    return message;
}

std::optional<ParsedMessage> parseMessage(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    const DirectoryMessage message = read(stream);
    if (stream.status() != QDataStream::Ok)
        return std::nullopt;
    return ParsedMessage{message, static_cast<int>(stream.device()->pos())};
}

QDebug operator<<(QDebug debug, const DirectoryMessage& message)
{
    const QDebugStateSaver saver(debug);
    debug.setAutoInsertSpaces(true);
    debug << "DirectoryServerMessage(" << message.hostUuid << ",";
    switch (message.type) {
    case DirectoryMessage::kServiceInfo:
        debug << "kServiceInfo," << message.port << "," << message.serviceId;
        break;
    case DirectoryMessage::kPing:
        debug << "kPing," << message.responderUuid << "," << message.timeStamp;
        break;
    case DirectoryMessage::kWhois:
        debug << "kWhois";
        break;
    default:
        debug << "unknown type";
    }
    debug << ")";
    return debug;
}

}  // namespace eboNetworkExchange
