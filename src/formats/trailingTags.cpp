#include "formats/trailingTags.h"

#include "formats/readAt.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace {

// Nobody writes more tags than this behind each other.
constexpr int kMostTags = 16;

/// An ID3v1 tag that ends at `end`: always of this size.
std::int64_t id3v1Bytes(DecoderFeed& feed, std::int64_t end)
{
    constexpr std::int64_t kSize = 128;
    std::array<char, 3> mark{};
    return readAt(feed, end - kSize, mark) && std::string_view(mark.data(), mark.size()) == "TAG" ? kSize : 0;
}

/// An APE tag that ends at `end`: its footer tells its size, the head in front of it not included.
std::int64_t apeBytes(DecoderFeed& feed, std::int64_t end)
{
    constexpr std::int64_t kFooter = 32;
    constexpr std::size_t kSizeAt = 12;
    constexpr std::size_t kFlagsAt = 20;
    constexpr std::uint32_t kHasHead = 1U << 31U;
    std::array<char, kFooter> footer{};
    if (!readAt(feed, end - kFooter, footer) ||
        !std::string_view(footer.data(), footer.size()).starts_with("APETAGEX"))
        return 0;
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 4; i-- > 0;)
            value = value << 8U | static_cast<std::uint8_t>(footer[at + i]);
        return value;
    };
    const std::int64_t size =
        std::int64_t{number(kSizeAt)} + ((number(kFlagsAt) & kHasHead) != 0 ? kFooter : 0);
    return size >= kFooter && size <= end ? size : 0;
}

/// Lyrics that end at `end`: six digits with their size, and a mark.
std::int64_t lyricsBytes(DecoderFeed& feed, std::int64_t end)
{
    constexpr std::int64_t kTail = 15;
    constexpr std::size_t kDigits = 6;
    std::array<char, kTail> tail{};
    if (!readAt(feed, end - kTail, tail) ||
        !std::string_view(tail.data(), tail.size()).ends_with("LYRICS200"))
        return 0;
    std::int64_t size = 0;
    const auto parsed = std::from_chars(tail.data(), tail.data() + kDigits, size);
    return parsed.ptr == tail.data() + kDigits && size + kTail <= end ? size + kTail : 0;
}

}  // namespace

std::int64_t trailingTagBytes(DecoderFeed& feed)
{
    const std::int64_t size = feed.size();
    std::int64_t end = size;
    for (int i = 0; i < kMostTags; ++i) {
        std::int64_t bytes = id3v1Bytes(feed, end);
        bytes = bytes != 0 ? bytes : apeBytes(feed, end);
        bytes = bytes != 0 ? bytes : lyricsBytes(feed, end);
        if (bytes == 0)
            break;
        end -= bytes;
    }
    return size - end;
}

std::int64_t leadingTagBytes(DecoderFeed& feed)
{
    constexpr std::int64_t kHead = 10;
    constexpr std::size_t kFlagsAt = 5;
    constexpr unsigned kHasFooter = 0x10;
    std::int64_t start = 0;
    for (int i = 0; i < kMostTags; ++i) {
        std::array<char, kHead> head{};
        if (!readAt(feed, start, head) || !std::string_view(head.data(), head.size()).starts_with("ID3"))
            break;
        std::int64_t size = 0;  // seven bits a byte
        for (std::size_t at = kFlagsAt + 1; at < head.size(); ++at)
            size = size << 7U | (static_cast<std::uint8_t>(head[at]) & 0x7FU);
        const bool hasFooter = (static_cast<std::uint8_t>(head[kFlagsAt]) & kHasFooter) != 0;
        start += kHead + size + (hasFooter ? kHead : 0);
    }
    return start;
}
