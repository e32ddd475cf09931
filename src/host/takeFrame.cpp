#include "host/takeFrame.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"

#include <QIODevice>
#include <QtEndian>

#include <array>

namespace tunesift::host {
namespace {

using eboOfflineAnalysisProtocol::kHeaderSize;
using eboOfflineAnalysisProtocol::kPayloadSizeOffset;

bool nextHeaderIsPlausible(QIODevice& connection)
{
    std::array<char, kHeaderSize> header{};
    if (connection.peek(header.data(), kHeaderSize) != kHeaderSize)
        return true;
    const auto payloadSize = qFromLittleEndian<qint64>(header.data() + kPayloadSizeOffset);
    return payloadSize >= 0 && payloadSize <= kLargestPayload;
}

}  // namespace

std::variant<Frame, NoFrame, BadFrame> takeFrame(QIODevice& connection)
{
    if (!nextHeaderIsPlausible(connection))
        return BadFrame{};
    const qint64 before = connection.bytesAvailable();
    auto [id, payload] = eboOfflineAnalysisProtocol::nextCommand(&connection);
    if (id != 0)
        return Frame{id, std::move(payload)};
    // Nothing was returned and yet bytes are gone: a frame with a wrong CRC, or with the number 0 that no
    // message has.
    if (connection.bytesAvailable() != before)
        return BadFrame{};
    return NoFrame{};
}

}  // namespace tunesift::host
