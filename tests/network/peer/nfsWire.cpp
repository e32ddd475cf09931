#include "network/peer/nfsWire.h"

#include <stdexcept>

namespace peer::nfs {

namespace {

Bytes octet(bool value) { return Bytes(1, value ? '\1' : '\0'); }
Bytes signed32(std::int32_t value) { return number32(static_cast<std::uint32_t>(value)); }
Bytes signed64(std::int64_t value) { return number64(static_cast<std::uint64_t>(value)); }

enum Id : std::int32_t {
    kDirectoryInfo = 2,
    kDirectoryContents = 3,
    kFileInfo = 4,
    kFileData = 5,
    kDataInvalid = 6,
    kLockResponse = 7,
    kDeviceInfo = 8,
    kObjectUnavailable = 9,
    kTruncateResponse = 10,
    kDeleteResponse = 11,
    kInfoRequest = 2001,
    kDirectoryRequest = 2002,
    kDirectoryRelease = 2003,
    kFileRequest = 2004,
    kDataRequest = 2005,
    kFileRelease = 2006,
    kWriteRequest = 2007,
    kSyncRequest = 2008,
    kLockRequest = 2009,
    kTruncateRequest = 2010,
    kDeleteRequest = 2011,
};

}  // namespace

Bytes text(const std::u16string& text)
{
    Bytes result = number32(static_cast<std::uint32_t>(2 * text.size()));
    for (const char16_t unit : text)
        result += number16(unit);
    return result;
}

Bytes blob(const Bytes& bytes) { return number32(static_cast<std::uint32_t>(bytes.size())) + bytes; }

Bytes header(std::uint32_t object, std::int32_t type) { return "fltx" + number32(object) + signed32(type); }

Bytes ranges(const Ranges& ranges)
{
    Bytes result = number64(ranges.size());
    for (const auto& [first, last] : ranges)
        result += number64(first) + number64(last);
    return result;
}

Bytes infoRequest(std::uint32_t object, const std::u16string& path)
{
    return header(object, kInfoRequest) + text(path);
}

Bytes directoryRequest(std::uint32_t object, const std::u16string& path)
{
    return header(object, kDirectoryRequest) + text(path);
}

Bytes directoryRelease(std::uint32_t object) { return header(object, kDirectoryRelease); }

Bytes fileRequest(std::uint32_t object, const std::u16string& path)
{
    return header(object, kFileRequest) + text(path) + signed32(0);
}

Bytes dataRequest(std::uint32_t object, const Ranges& blocks)
{
    return header(object, kDataRequest) + ranges(blocks);
}

Bytes fileRelease(std::uint32_t object) { return header(object, kFileRelease); }

Bytes writeRequest(std::uint32_t object, std::int64_t offset, const Bytes& data)
{
    return header(object, kWriteRequest) + signed64(offset) + blob(data);
}

Bytes syncRequest(std::uint32_t object) { return header(object, kSyncRequest); }

Bytes lockRequest(std::uint32_t object, std::int32_t level)
{
    return header(object, kLockRequest) + signed32(level);
}

Bytes truncateRequest(std::uint32_t object, std::int64_t newSize)
{
    return header(object, kTruncateRequest) + signed64(newSize);
}

Bytes deleteRequest(std::uint32_t object) { return header(object, kDeleteRequest); }

Bytes fileInfo(std::uint32_t object, std::int64_t size, std::int32_t flags)
{
    return header(object, kFileInfo) + signed64(size) + signed32(flags);
}

Bytes fileData(std::uint32_t object, std::int64_t offset, const Bytes& data)
{
    return header(object, kFileData) + signed64(offset) + blob(data);
}

Bytes dataInvalid(std::uint32_t object, const Ranges& blocks, std::int64_t newSize)
{
    return header(object, kDataInvalid) + ranges(blocks) + signed64(newSize);
}

Bytes lockResponse(std::uint32_t object, std::int8_t result, std::int32_t level)
{
    return header(object, kLockResponse) + Bytes(1, static_cast<char>(result)) + signed32(level);
}

Bytes objectUnavailable(std::uint32_t object) { return header(object, kObjectUnavailable); }

Bytes truncateResponse(std::uint32_t object, bool truncated, std::int64_t size)
{
    return header(object, kTruncateResponse) + octet(truncated) + signed64(size);
}

Bytes deleteResponse(std::uint32_t object, bool deleted)
{
    return header(object, kDeleteResponse) + octet(deleted);
}

Bytes deviceInfo(const std::u16string& name) { return header(0, kDeviceInfo) + text(name); }

Bytes directoryInfo(std::uint32_t object, bool exists, std::int32_t flags, std::int64_t limit)
{
    return header(object, kDirectoryInfo) + octet(exists) + signed32(flags) + signed64(limit);
}

Bytes directoryContents(std::uint32_t object, const std::vector<std::u16string>& entries, bool isFirst,
                        bool isLast, bool containsDirectories)
{
    Bytes result = header(object, kDirectoryContents) + number32(static_cast<std::uint32_t>(entries.size()));
    for (const std::u16string& entry : entries)
        result += text(entry);
    return result + octet(isFirst) + octet(isLast) + octet(containsDirectories);
}

Bytes packet(const Bytes& payload) { return blob(payload); }

std::uint64_t Parser::number(unsigned octets)
{
    std::uint64_t value = 0;
    for (unsigned i = 0; i < octets; ++i)
        value = value << 8U | static_cast<unsigned char>(bytes_.at(next_++));
    return value;
}

std::u16string Parser::text()
{
    constexpr std::uint32_t kNull = 0xffffffff;
    const std::uint64_t size = number(4);
    std::u16string result;
    for (std::uint64_t i = 0; size != kNull && i < size / 2; ++i)
        result.push_back(static_cast<char16_t>(number(2)));
    return result;
}

Bytes Parser::blob()
{
    const std::uint64_t size = number(4);
    if (size > bytes_.size() - next_)
        throw std::out_of_range("blob");
    const Bytes result = bytes_.substr(next_, size);
    next_ += size;
    return result;
}

Ranges Parser::ranges()
{
    Ranges result;
    for (std::uint64_t count = number(8); count > 0; --count) {
        const std::uint64_t first = number(8);
        result.emplace_back(first, number(8));
    }
    return result;
}

Received received(const Bytes& payload)
{
    Parser parser(payload);
    constexpr std::uint64_t kMagic = 0x666c7478;
    if (parser.number(4) != kMagic)
        throw std::runtime_error("not a message of file sharing");
    const auto object = static_cast<std::uint32_t>(parser.number(4));
    const auto type = static_cast<std::int32_t>(parser.number(4));
    return {object, type, std::move(parser)};
}

}  // namespace peer::nfs
