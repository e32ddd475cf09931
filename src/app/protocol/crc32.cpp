#include "app/protocol/crc32.h"

#include <array>

namespace {

constexpr quint32 kReflectedPolynomial = 0xEDB88320U;

constexpr std::array<quint32, 256> kTable = [] {
    std::array<quint32, 256> table{};
    for (quint32 byte = 0; byte < table.size(); ++byte) {
        quint32 remainder = byte;
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1U) != 0 ? kReflectedPolynomial : 0U);
        table[byte] = remainder;
    }
    return table;
}();

}  // namespace

quint32 crc32(const QByteArray& bytes) noexcept
{
    quint32 remainder = 0xFFFFFFFFU;
    for (const char byte : bytes)
        remainder = (remainder >> 8) ^ kTable[(remainder ^ static_cast<quint8>(byte)) & 0xFFU];
    return ~remainder;
}
