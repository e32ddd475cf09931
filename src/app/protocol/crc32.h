#pragma once

#include <QByteArray>
#include <QtGlobal>

/// The CRC-32 of zlib and IEEE 802.3: polynomial 0x04C11DB7 reflected, all ones in, inverted out. The CRC of
/// nothing is 0.
[[nodiscard]] quint32 crc32(const QByteArray& bytes) noexcept;
