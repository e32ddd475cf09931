#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Tags as people's files have them, made by hand.
namespace testsupport {

/// ID3 of version 1: always 128 bytes.
inline std::string id3v1()
{
    std::string tag = "TAG";
    return tag.append(125, 'x');
}

/// ID3 of version 2 with a body of so many bytes.
/// @param withFooter whether ten bytes more stand behind it
inline std::string id3v2(std::size_t bodyBytes, bool withFooter = false)
{
    std::string tag("ID3\4\0", 5);
    tag.push_back(withFooter ? '\x10' : '\0');
    for (const unsigned shift : {21U, 14U, 7U, 0U})
        tag.push_back(static_cast<char>(bodyBytes >> shift & 0x7FU));
    tag.append(bodyBytes, '\0');
    return withFooter ? tag + std::string(10, '3') : tag;
}

/// One end of an APE tag of version 2; both look the same but for a flag.
inline std::string apeEnd(std::size_t itemBytes, std::uint32_t items, std::uint32_t flags)
{
    std::string end = "APETAGEX";
    const auto append = [&](std::uint32_t value) {
        for (unsigned i = 0; i < 4; ++i)
            end.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
    };
    append(2000);
    append(static_cast<std::uint32_t>(itemBytes + 32));
    append(items);
    append(flags);
    return end.append(8, '\0');
}

/// An APE tag with a picture of so many bytes, in which now and then two bytes look like the start of sound.
/// @param withHead whether it has both ends
inline std::string apeTag(std::size_t pictureBytes, bool withHead)
{
    std::string picture(pictureBytes, '\0');
    std::uint32_t random = 1;
    for (char& byte : picture) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<char>(random >> 24U);
    }
    for (std::size_t at = 1000; at + 4 < picture.size(); at += 5000)
        picture.replace(at, 4, "\xFF\xFB\x90\x44");
    std::string item;
    for (unsigned i = 0; i < 4; ++i)
        item.push_back(static_cast<char>(pictureBytes >> (8 * i) & 0xFFU));
    item += std::string("\2\0\0\0Cover Art (Front)\0", 22) + picture;
    constexpr std::uint32_t kHasHead = 1U << 31U;
    constexpr std::uint32_t kIsHead = 1U << 29U;
    if (!withHead)
        return item + apeEnd(item.size(), 1, 0);
    return apeEnd(item.size(), 1, kHasHead | kIsHead) + item + apeEnd(item.size(), 1, kHasHead);
}

/// Lyrics of version 2.
inline std::string lyrics3() { return "LYRICSBEGINLYR00020la la la la la la la 000040LYRICS200"; }

}  // namespace testsupport
