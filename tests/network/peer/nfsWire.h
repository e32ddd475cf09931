#pragma once

#include "network/peer/wire.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Messages of file sharing as another make of device writes them: put together by hand, byte by byte.
namespace peer::nfs {

using Ranges = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// Size in bytes, then UTF-16, big-endian.
[[nodiscard]] Bytes text(const std::u16string& text);

/// Size in bytes, then the bytes.
[[nodiscard]] Bytes blob(const Bytes& bytes);

/// "fltx", the object, the type.
[[nodiscard]] Bytes header(std::uint32_t object, std::int32_t type);

[[nodiscard]] Bytes ranges(const Ranges& ranges);

// Requests.
[[nodiscard]] Bytes infoRequest(std::uint32_t object, const std::u16string& path);
[[nodiscard]] Bytes directoryRequest(std::uint32_t object, const std::u16string& path);
[[nodiscard]] Bytes directoryRelease(std::uint32_t object);
[[nodiscard]] Bytes fileRequest(std::uint32_t object, const std::u16string& path);
[[nodiscard]] Bytes dataRequest(std::uint32_t object, const Ranges& blocks);
[[nodiscard]] Bytes fileRelease(std::uint32_t object);
[[nodiscard]] Bytes writeRequest(std::uint32_t object, std::int64_t offset, const Bytes& data);
[[nodiscard]] Bytes syncRequest(std::uint32_t object);
[[nodiscard]] Bytes lockRequest(std::uint32_t object, std::int32_t level);
[[nodiscard]] Bytes truncateRequest(std::uint32_t object, std::int64_t newSize);
[[nodiscard]] Bytes deleteRequest(std::uint32_t object);

// Answers.
[[nodiscard]] Bytes fileInfo(std::uint32_t object, std::int64_t size, std::int32_t flags = 1);
[[nodiscard]] Bytes fileData(std::uint32_t object, std::int64_t offset, const Bytes& data);
[[nodiscard]] Bytes dataInvalid(std::uint32_t object, const Ranges& blocks, std::int64_t newSize);
[[nodiscard]] Bytes lockResponse(std::uint32_t object, std::int8_t result, std::int32_t level);
[[nodiscard]] Bytes objectUnavailable(std::uint32_t object);
[[nodiscard]] Bytes truncateResponse(std::uint32_t object, bool truncated, std::int64_t size);
[[nodiscard]] Bytes deleteResponse(std::uint32_t object, bool deleted);
[[nodiscard]] Bytes deviceInfo(const std::u16string& name);
[[nodiscard]] Bytes directoryInfo(std::uint32_t object, bool exists, std::int32_t flags, std::int64_t limit);
[[nodiscard]] Bytes directoryContents(std::uint32_t object, const std::vector<std::u16string>& entries,
                                      bool isFirst, bool isLast, bool containsDirectories);

/// A payload as a packet of a service connection.
[[nodiscard]] Bytes packet(const Bytes& payload);

/// Takes a message apart; throws std::out_of_range beyond its end.
class Parser {
public:
    explicit Parser(Bytes bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::uint64_t number(unsigned octets);
    [[nodiscard]] bool boolean() { return number(1) != 0; }
    [[nodiscard]] std::u16string text();
    [[nodiscard]] Bytes blob();
    [[nodiscard]] Ranges ranges();
    [[nodiscard]] bool atEnd() const { return next_ == bytes_.size(); }

private:
    Bytes bytes_;
    std::size_t next_ = 0;
};

/// The header of a message, and a parser behind it.
struct Received {
    std::uint32_t object;
    std::int32_t type;
    Parser body;
};

[[nodiscard]] Received received(const Bytes& payload);

}  // namespace peer::nfs
