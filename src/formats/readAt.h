#pragma once

#include "formats/DecoderFeed.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// Reads at a byte of the file as much as there is, up to the span's size, and moves its position.
/// @return bytes read, negative for a place that the file does not have and after a failure
[[nodiscard]] inline std::int64_t readUpTo(DecoderFeed& feed, std::int64_t at, std::span<std::byte> target)
{
    if (at < 0 || !feed.seek(at))
        return -1;
    std::size_t done = 0;
    while (done < target.size()) {
        const std::int64_t count = feed.read(target.data() + done, target.size() - done);
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return static_cast<std::int64_t>(done);
}

/// Fills the target from that byte on; false if the file does not have that much.
template <typename Container>
[[nodiscard]] bool readAt(DecoderFeed& feed, std::int64_t at, Container& target)
{
    const auto bytes = std::as_writable_bytes(std::span(target));
    return readUpTo(feed, at, bytes) == static_cast<std::int64_t>(bytes.size());
}
