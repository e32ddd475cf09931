#include "network/nfs/messageStream.h"

#include <QBuffer>

#include <cstdint>

/// Any bytes in a packet of file sharing: progress in every step, and what was read as a message is written
/// and read the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace eboNfsMessages;
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer packet(&bytes);
    packet.open(QIODevice::ReadOnly);
    while (!packet.atEnd()) {
        const qint64 begin = packet.pos();
        const Message message = readMessage(&packet);
        if (packet.pos() <= begin)
            __builtin_trap();
        QString text;
        QDebug(&text) << message;
        // Moments that there never were do not survive Qt's own reading and writing.
        if (message.type == kInvalid || message.type == eInfo)
            continue;
        QByteArray written = toPacket(message);
        QBuffer again(&written);
        again.open(QIODevice::ReadOnly);
        const Message same = readMessage(&again);
        if (!again.atEnd() || same.type != message.type || toPacket(same) != written)
            __builtin_trap();
    }
    return 0;
}
