#pragma once

#include "support/AudioFiles.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

/// Native FLAC files taken apart and changed by the byte.
namespace testsupport {

inline constexpr std::size_t kFlacStreamInfo = 8;  ///< Behind "fLaC" and the head of the first block.

/// Where the blocks of sound begin, by the flac program, and where the last one ends.
inline std::vector<std::size_t> flacBlockOffsets(const std::string& path)
{
    std::istringstream analysis(runProgram("flac", {"--analyze", "--silent", "--stdout", path}));
    std::vector<std::size_t> offsets;
    for (std::string line; std::getline(analysis, line);) {
        const std::size_t at = line.find("offset=");
        if (line.starts_with("frame=") && at != std::string::npos)
            offsets.push_back(std::stoull(line.substr(at + 7)));
    }
    offsets.push_back(readWholeFile(path).size());
    return offsets;
}

/// Sets the length that the stream info tells, of 36 bits.
inline void setFlacTotalFrames(std::string& bytes, std::uint64_t frames)
{
    char* const field = bytes.data() + kFlacStreamInfo + 13;
    field[0] = static_cast<char>((static_cast<std::uint8_t>(field[0]) & 0xf0U) | (frames >> 32U & 0xfU));
    for (unsigned i = 1; i < 5; ++i)
        field[i] = static_cast<char>(frames >> (8 * (4 - i)) & 0xffU);
}

/// Sets the sample rate that the stream info tells, of 20 bits.
inline void setFlacSampleRate(std::string& bytes, std::uint32_t rate)
{
    char* const field = bytes.data() + kFlacStreamInfo + 10;
    field[0] = static_cast<char>(rate >> 12U);
    field[1] = static_cast<char>(rate >> 4U & 0xffU);
    field[2] = static_cast<char>((rate & 0xfU) << 4U | (static_cast<std::uint8_t>(field[2]) & 0xfU));
}

/// A metadata block, not the last one, with the stated length in its head.
inline std::string flacMetadata(unsigned type, std::uint32_t length, const std::string& body)
{
    std::string block;
    for (const std::uint32_t byte : {type, length >> 16U, length >> 8U, length})
        block.push_back(static_cast<char>(byte & 0xffU));
    block += body;
    return block;
}

}  // namespace testsupport
