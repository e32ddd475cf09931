#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace peer {

/// Octets as they travel.
using Bytes = std::string;

/// 16 octets in the order of RFC 4122.
using Uuid = std::array<std::uint8_t, 16>;

/// Below and above every uuid that a device makes for itself by chance.
inline constexpr Uuid kLowestUuid{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
inline constexpr Uuid kHighestUuid{0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                                   0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};

[[nodiscard]] Bytes number16(std::uint16_t value);
[[nodiscard]] Bytes number32(std::uint32_t value);
[[nodiscard]] Bytes number64(std::uint64_t value);
[[nodiscard]] Bytes uuidBytes(const Uuid& uuid);

/// Size in bytes, then UTF-16; for ASCII.
[[nodiscard]] Bytes text(const std::string& ascii);

struct BeaconFields {
    Uuid uuid{};
    std::string hostName = "fake";
    std::string message = "DISCOVERER_HOWDY_";
    std::string application = "Other";
    std::string version = "9.9";
    std::uint16_t port = 0;
};

[[nodiscard]] Bytes beacon(const BeaconFields& fields);

/// Messages of directory connections.
[[nodiscard]] Bytes serviceInfo(const Uuid& sender, const std::string& serviceId, std::uint16_t port);
[[nodiscard]] Bytes ping(const Uuid& originator, const Uuid& responder, std::uint64_t timeStamp);
[[nodiscard]] Bytes whois(const Uuid& sender);

inline constexpr std::size_t kWhoisSize = 20;

/// "38ba0260-fd44-..." without braces.
[[nodiscard]] std::string written(const Uuid& uuid);
[[nodiscard]] Uuid uuidFrom(const std::string& written);

}  // namespace peer
