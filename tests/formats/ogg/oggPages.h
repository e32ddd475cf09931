#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Ogg files taken apart into pages and put together again.
namespace testsupport {

/// The checksum of a page whose checksum field is 0: polynomial 0x04c11db7, highest bit first, from 0.
inline std::uint32_t oggChecksum(const std::string& page)
{
    static const auto table = [] {
        std::array<std::uint32_t, 256> sums{};
        for (std::uint32_t byte = 0; byte < 256; ++byte) {
            std::uint32_t sum = byte << 24U;
            for (int bit = 0; bit < 8; ++bit)
                sum = (sum << 1U) ^ ((sum >> 31U) != 0 ? 0x04c11db7U : 0U);
            sums[byte] = sum;
        }
        return sums;
    }();
    std::uint32_t sum = 0;
    for (const char byte : page)
        sum = (sum << 8U) ^ table[(sum >> 24U) ^ static_cast<std::uint8_t>(byte)];
    return sum;
}

/// Sets the page's checksum to what it should be.
inline void sealOggPage(std::string& page)
{
    constexpr std::size_t kChecksum = 22;
    page.replace(kChecksum, 4, 4, '\0');
    const std::uint32_t sum = oggChecksum(page);
    for (unsigned i = 0; i < 4; ++i)
        page[kChecksum + i] = static_cast<char>(sum >> (8 * i) & 0xffU);
}

/// The page that begins at the byte; empty if there is none or not the whole of it.
inline std::string oggPageAt(const std::string& bytes, std::size_t at)
{
    constexpr std::size_t kSegmentCount = 26;
    if (bytes.size() <= at + kSegmentCount || bytes.compare(at, 4, "OggS") != 0)
        return {};
    const std::size_t segments = static_cast<std::uint8_t>(bytes[at + kSegmentCount]);
    std::size_t size = kSegmentCount + 1 + segments;
    if (bytes.size() < at + size)
        return {};
    for (std::size_t i = 0; i < segments; ++i)
        size += static_cast<std::uint8_t>(bytes[at + kSegmentCount + 1 + i]);
    return bytes.size() < at + size ? std::string() : bytes.substr(at, size);
}

/// The same for every page in the bytes, wherever it begins.
inline void sealOggPages(std::string& bytes)
{
    for (std::size_t at = bytes.find("OggS"); at != std::string::npos; at = bytes.find("OggS", at + 1)) {
        std::string page = oggPageAt(bytes, at);
        if (page.empty())
            continue;
        sealOggPage(page);
        bytes.replace(at, page.size(), page);
    }
}

/// The file's pages, one behind the other.
inline std::vector<std::string> oggPages(const std::string& bytes)
{
    std::vector<std::string> pages;
    std::size_t at = 0;
    for (std::string page = oggPageAt(bytes, at); !page.empty(); page = oggPageAt(bytes, at)) {
        at += page.size();
        pages.push_back(std::move(page));
    }
    return pages;
}

inline std::string join(const std::vector<std::string>& pages)
{
    std::string bytes;
    for (const std::string& page : pages)
        bytes += page;
    return bytes;
}

/// A full page, the sequence-th of its stream, in the middle of a packet that goes on and on.
inline std::string endlessOggPage(std::uint32_t serial, std::uint32_t sequence)
{
    std::string page("OggS\0\1\xff\xff\xff\xff\xff\xff\xff\xff",
                     14);  // a continued packet, no end in this page
    for (const std::uint32_t field : {serial, sequence, 0U}) {
        for (unsigned i = 0; i < 4; ++i)
            page.push_back(static_cast<char>(field >> (8 * i) & 0xffU));
    }
    page += std::string(256, '\xff');  // 255 segments of 255 bytes
    page += std::string(std::size_t{255} * 255, 'x');
    sealOggPage(page);
    return page;
}

}  // namespace testsupport
