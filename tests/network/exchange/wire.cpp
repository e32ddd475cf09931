#include "network/exchange/wire.h"

#include <QByteArray>

namespace exchangetest::wire {

namespace {

std::string bigEndian(std::uint64_t value, int size)
{
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>((value >> shift) & 0xff));
    return bytes;
}

}  // namespace

std::string be16(std::uint16_t value) { return bigEndian(value, 2); }
std::string be32(std::uint32_t value) { return bigEndian(value, 4); }
std::string be64(std::uint64_t value) { return bigEndian(value, 8); }

std::string text(const std::string& ascii)
{
    std::string bytes = be32(static_cast<std::uint32_t>(2 * ascii.size()));
    for (const char letter : ascii) {
        bytes.push_back('\0');
        bytes.push_back(letter);
    }
    return bytes;
}

std::string hex(const std::string& digits)
{
    return QByteArray::fromHex(QByteArray::fromStdString(digits)).toStdString();
}

const std::string kOwn = hex("70000000 0000 4000 8000 000000000007");
const std::string kLower = hex("00000000 0000 4000 8000 000000000001");
const std::string kHigher = hex("f0000000 0000 4000 8000 00000000000f");
const std::string kNobody = hex("00000000 0000 0000 0000 000000000000");

QUuid uuid(const std::string& raw) { return QUuid::fromRfc4122(QByteArray::fromStdString(raw)); }

std::string whois(const std::string& sender) { return be32(2) + sender; }

std::string serviceInfo(const std::string& sender, const std::string& serviceId, std::uint16_t port)
{
    return be32(0) + sender + text(serviceId) + be16(port);
}

std::string ping(const std::string& sender, const std::string& responder, std::uint64_t timeStamp)
{
    return be32(1) + sender + responder + be64(timeStamp);
}

std::string packet(const std::string& payload)
{
    return be32(static_cast<std::uint32_t>(payload.size())) + payload;
}

}  // namespace exchangetest::wire
