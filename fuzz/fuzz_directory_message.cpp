#include "network/exchange/DirectoryMessage.h"

#include <QBuffer>

#include <cstdint>

/// Any bytes on a directory connection: progress in every step, and what was read whole is written the same,
/// and found the same when it is awaited whole.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer wire(&bytes);
    wire.open(QIODevice::ReadOnly);
    while (wire.bytesAvailable() > 0) {
        const qint64 begin = wire.pos();
        const auto message = eboNetworkExchange::takeMessage(wire);
        if (wire.pos() <= begin)
            __builtin_trap();
        if (!message)
            continue;
        const QByteArray taken = bytes.mid(static_cast<int>(begin), static_cast<int>(wire.pos() - begin));
        const auto parsed = eboNetworkExchange::parseMessage(taken);
        if (!parsed || parsed->size != taken.size())
            __builtin_trap();
        if (eboNetworkExchange::toBytes(*message) != taken)
            __builtin_trap();
        QString text;
        QDebug(&text) << *message;
    }
    return 0;
}
