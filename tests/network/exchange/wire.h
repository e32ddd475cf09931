#pragma once

#include "network/peer/nfsWire.h"
#include "network/peer/wire.h"

#include <QUuid>

#include <string>

/// The bytes of the network as the tests of one process see them: those of a device of another make, and who
/// takes part.
namespace exchangetest::wire {

using peer::number32;
using peer::ping;
using peer::serviceInfo;
using peer::text;
using peer::Uuid;
using peer::uuidBytes;
using peer::whois;
using peer::nfs::packet;

/// The bytes that a row of hexadecimal digits spells out; blanks are skipped.
std::string hex(const std::string& digits);

/// Our own, and with lower and higher uuid than that.
inline constexpr Uuid kOwn{0x70, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0x07};
inline constexpr Uuid kLower{0x00, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0x01};
inline constexpr Uuid kLowerToo{0x00, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0x02};
inline constexpr Uuid kHigher{0xf0, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0x0f};
inline constexpr Uuid kStranger{0xf0, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0, 0, 0, 0, 0, 0, 0xee};
inline constexpr Uuid kNobody{};

QUuid uuid(const Uuid& octets);

}  // namespace exchangetest::wire
