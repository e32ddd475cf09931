#pragma once

#include <QUuid>

#include <cstdint>
#include <string>

/// The bytes of the network as the tests see them, put together by hand.
namespace exchangetest::wire {

std::string be16(std::uint16_t value);
std::string be32(std::uint32_t value);
std::string be64(std::uint64_t value);

/// A text of ASCII letters as 32-bit byte length and big-endian UTF-16.
std::string text(const std::string& ascii);

/// The bytes that a row of hexadecimal digits spells out; blanks are skipped.
std::string hex(const std::string& digits);

/// Who takes part: with lower and higher uuid than our own.
extern const std::string kOwn;
extern const std::string kLower;
extern const std::string kHigher;
extern const std::string kNobody;

/// 16 raw bytes as a QUuid.
QUuid uuid(const std::string& raw);

std::string whois(const std::string& sender);
std::string serviceInfo(const std::string& sender, const std::string& serviceId, std::uint16_t port);
std::string ping(const std::string& sender, const std::string& responder, std::uint64_t timeStamp);

/// A packet of a service connection.
std::string packet(const std::string& payload);

}  // namespace exchangetest::wire
