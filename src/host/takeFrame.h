#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <variant>

class QIODevice;

namespace tunesift::host {

/// One whole frame of the control connection with a good CRC.
struct Frame {
    quint32 messageId = 0;
    QByteArray payload;
};

/// No whole frame is there yet.
struct NoFrame {};

/// What stands next on the connection can never be a frame, or was one with a wrong CRC. A message is lost
/// and, in the first case, every one behind it too.
struct BadFrame {};

/// No message comes near this: the longest wave, of a track as long as frames can be counted at 44.1 kHz,
/// is 61 MB. What claims to be longer is judged from its header, without waiting for it.
inline constexpr qint64 kLargestPayload = 64 * 1024 * 1024;

/// Takes the next frame off the connection.
[[nodiscard]] std::variant<Frame, NoFrame, BadFrame> takeFrame(QIODevice& connection);

}  // namespace tunesift::host
