#include "network/peer/wire.h"

#include <cctype>
#include <cstdio>

namespace peer {
namespace {

Bytes bigEndian(std::uint64_t value, unsigned octets)
{
    Bytes result;
    for (unsigned i = octets; i-- > 0;)
        result.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
    return result;
}

}  // namespace

Bytes number16(std::uint16_t value) { return bigEndian(value, 2); }
Bytes number32(std::uint32_t value) { return bigEndian(value, 4); }
Bytes number64(std::uint64_t value) { return bigEndian(value, 8); }
Bytes uuidBytes(const Uuid& uuid) { return {uuid.begin(), uuid.end()}; }

Bytes text(const std::string& ascii)
{
    Bytes result = number32(static_cast<std::uint32_t>(2 * ascii.size()));
    for (const char character : ascii) {
        result.push_back('\0');
        result.push_back(character);
    }
    return result;
}

Bytes beacon(const BeaconFields& fields)
{
    return "eboD" + uuidBytes(fields.uuid) + text(fields.hostName) + text(fields.message) +
           text(fields.application) + text(fields.version) + number16(fields.port);
}

Bytes serviceInfo(const Uuid& sender, const std::string& serviceId, std::uint16_t port)
{
    return number32(0) + uuidBytes(sender) + text(serviceId) + number16(port);
}

Bytes ping(const Uuid& originator, const Uuid& responder, std::uint64_t timeStamp)
{
    return number32(1) + uuidBytes(originator) + uuidBytes(responder) + number64(timeStamp);
}

Bytes whois(const Uuid& sender) { return number32(2) + uuidBytes(sender); }

std::string written(const Uuid& uuid)
{
    std::string result;
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            result += '-';
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned>(uuid.at(i)));
        result += digits.data();
    }
    return result;
}

Uuid uuidFrom(const std::string& written)
{
    Uuid uuid{};
    std::size_t digit = 0;
    for (const char character : written) {
        if (std::isxdigit(static_cast<unsigned char>(character)) == 0)
            continue;
        const int value = std::stoi(std::string(1, character), nullptr, 16);
        std::uint8_t& octet = uuid.at(digit++ / 2);
        octet = static_cast<std::uint8_t>(octet * 16 + value);
    }
    return uuid;
}

}  // namespace peer
