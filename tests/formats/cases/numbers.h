#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace testsupport {

/// A number as files have it.
inline std::string littleEndian(std::uint64_t value, unsigned bytes)
{
    std::string text;
    for (unsigned i = 0; i < bytes; ++i)
        text.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
    return text;
}

inline std::string bigEndian(std::uint64_t value, unsigned bytes)
{
    const std::string text = littleEndian(value, bytes);
    return {text.rbegin(), text.rend()};
}

inline std::uint32_t bigEndian32At(const std::string& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8U | static_cast<std::uint8_t>(bytes.at(at + i));
    return value;
}

}  // namespace testsupport
