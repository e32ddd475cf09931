#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <utility>

class QIODevice;

/// The frames of the control connection between the host and the worker, the same in both directions: a
/// header of 24 bytes, then the payload. docs/protocol.md has the byte tables.
///
///     0  uint32  streamTag    passed through, without meaning here
///     4  uint32  commandId
///     8  int64   payloadSize
///     16 uint32  payloadCrc   crc32 of the payload alone
///     20 4 bytes filler       zero when sent, never looked at
///
/// All numbers are little-endian. Both operations belong to the main thread and keep no state.
namespace eboOfflineAnalysisProtocol {

inline constexpr int kHeaderSize = 24;
inline constexpr int kPayloadSizeOffset = 8;

/// Writes one frame. Blocks for up to 15 seconds if bytes of an earlier frame are still unsent; writes all
/// the same after that, with a warning. A null device is ignored; failures to write are not reported.
void sendMessage(QIODevice* device, quint32 streamTag, quint32 commandId, const QByteArray& payload);

/// Takes the next whole frame: its id and its payload. (0, empty) when there is none, which consumes
/// nothing, and for a frame with a wrong CRC, which consumes that frame.
///
/// A frame whose size is negative or beyond what a QByteArray can hold never becomes whole: it is not
/// consumed, nothing is allocated for it, and the connection stays silent from there on.
std::pair<quint32, QByteArray> nextCommand(QIODevice* device);

}  // namespace eboOfflineAnalysisProtocol
