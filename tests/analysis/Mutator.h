#pragma once

#include "formats/ogg/oggPages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

/// Damages files: what time, transport and malice do to them. The same seed gives the same damage.
class Mutator {
public:
    explicit Mutator(std::uint32_t seed) : random_(seed) {}

    /// The bytes with one to three damages. In half of the cases Ogg's checksums are put right afterwards, so
    /// that the damage gets past the pages.
    [[nodiscard]] std::string damaged(std::string bytes)
    {
        for (std::size_t damages = 1 + below(3); damages > 0; --damages)
            damage(bytes);
        if (below(2) == 0)
            testsupport::sealOggPages(bytes);
        return bytes;
    }

private:
    /// From 0 to below the limit, which is above 0.
    std::size_t below(std::size_t limit) { return random_() % limit; }

    /// A position; half of them lie in the first kilobyte, where the headers are.
    std::size_t position(const std::string& bytes)
    {
        const std::size_t range = below(2) == 0 ? std::min<std::size_t>(1024, bytes.size()) : bytes.size();
        return range == 0 ? 0 : below(range);
    }

    std::string noise(std::size_t size)
    {
        std::string result(size, ' ');
        std::generate(result.begin(), result.end(), [this] { return static_cast<char>(random_()); });
        return result;
    }

    void damage(std::string& bytes)
    {
        const std::size_t at = position(bytes);
        const std::size_t size = 1 + below(below(4) == 0 ? 5000 : 40);
        switch (below(9)) {
        case 0:
        case 1:
            flipBits(bytes);
            break;
        case 2:
            bytes.resize(at);
            break;
        case 3:
            bytes.insert(at, noise(size));
            break;
        case 4:
            bytes.erase(at, size);
            break;
        case 5:
            bytes.replace(at, size, size, '\0');
            break;
        case 6:
            bytes.insert(position(bytes), bytes.substr(at, size));
            break;
        case 7:
            swapPieces(bytes);
            break;
        default:
            lie(bytes);
        }
    }

    void flipBits(std::string& bytes)
    {
        for (std::size_t flips = 1 + below(30); flips > 0 && !bytes.empty(); --flips) {
            char& byte = bytes[position(bytes)];
            byte = static_cast<char>(byte ^ static_cast<char>(1U << below(8)));
        }
    }

    /// Two pages of an Ogg file, or two pieces of another, in each other's place.
    void swapPieces(std::string& bytes)
    {
        const auto begin = [&] { return std::min(bytes.find("OggS", position(bytes)), bytes.size()); };
        const bool isOgg = bytes.starts_with("OggS");
        std::size_t first = isOgg ? begin() : position(bytes);
        std::size_t second = isOgg ? begin() : position(bytes);
        if (first > second)
            std::swap(first, second);
        const std::size_t end =
            std::min(isOgg ? bytes.find("OggS", second + 1) : second + 1000, bytes.size());
        const auto at = [&](std::size_t index) { return bytes.begin() + static_cast<std::ptrdiff_t>(index); };
        std::rotate(at(first), at(second), at(end));
    }

    /// A number of one to eight bytes, be it a length, a count or a rate, becomes an extreme one.
    void lie(std::string& bytes)
    {
        static const std::array<std::string, 6> values = {std::string(8, '\0'),
                                                          std::string(8, '\xff'),
                                                          std::string("\x7f\xff\xff\xff\xff\xff\xff\xff"),
                                                          std::string("\x80\0\0\0\0\0\0\0", 8),
                                                          std::string("\xff\xff\xff\x7f\xff\xff\xff\x7f"),
                                                          std::string("\0\0\0\x1\0\0\0\x1", 8)};
        const std::size_t width = std::size_t{1} << below(4);
        const std::size_t at = position(bytes);
        bytes.replace(at, width, values[below(values.size())], 0, width);
    }

    std::mt19937 random_;
};
