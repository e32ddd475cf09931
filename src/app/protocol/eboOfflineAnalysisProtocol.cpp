#include "app/protocol/eboOfflineAnalysisProtocol.h"

#include "app/protocol/crc32.h"

#include <QDebug>
#include <QIODevice>
#include <QtEndian>

#include <array>
#include <limits>

namespace eboOfflineAnalysisProtocol {
namespace {

constexpr int kCommandIdOffset = 4;
constexpr int kPayloadCrcOffset = 16;

// A host that does not read for this long is as good as gone; the frame is then left to the socket's buffer.
constexpr int kDrainMilliseconds = 15000;

// QByteArray counts in int and needs some bytes for itself.
constexpr qint64 kLargestPayload = std::numeric_limits<int>::max() - 64;

using Header = std::array<char, kHeaderSize>;

}  // namespace

void sendMessage(QIODevice* device, quint32 streamTag, quint32 commandId, const QByteArray& payload)
{
    if (device == nullptr)
        return;

    Header header{};
    qToLittleEndian(streamTag, header.data());
    qToLittleEndian(commandId, header.data() + kCommandIdOffset);
    qToLittleEndian(qint64{payload.size()}, header.data() + kPayloadSizeOffset);
    qToLittleEndian(crc32(payload), header.data() + kPayloadCrcOffset);

    if (device->bytesToWrite() != 0 && !device->waitForBytesWritten(kDrainMilliseconds))
        qWarning() << "eboOfflineAnalysisProtocol::sendMessage: buffer is full after" << kDrainMilliseconds
                   << "timeout!";
    device->write(header.data(), kHeaderSize);
    device->write(payload);
}

std::pair<quint32, QByteArray> nextCommand(QIODevice* device)
{
    const std::pair<quint32, QByteArray> nothing{0, QByteArray()};
    const qint64 available = device->bytesAvailable();
    Header header;
    if (available < kHeaderSize || device->peek(header.data(), kHeaderSize) != kHeaderSize)
        return nothing;

    const auto payloadSize = qFromLittleEndian<qint64>(header.data() + kPayloadSizeOffset);
    if (payloadSize < 0 || payloadSize > kLargestPayload || payloadSize > available - kHeaderSize)
        return nothing;

    device->skip(kHeaderSize);
    const QByteArray payload = device->read(payloadSize);
    const auto commandId = qFromLittleEndian<quint32>(header.data() + kCommandIdOffset);
    if (crc32(payload) != qFromLittleEndian<quint32>(header.data() + kPayloadCrcOffset)) {
        qWarning() << "eboOfflineAnalysisProtocol::nextCommand: CRC check failed, data read from the socket "
                      "but ignored (commandId:"
                   << commandId << ")";
        return nothing;
    }
    return {commandId, payload};
}

}  // namespace eboOfflineAnalysisProtocol
