#include "formats/ffmpeg/packetHeaders.h"

#include <array>
#include <cstddef>

namespace {

constexpr std::size_t kMpegHeaderBytes = 4;
constexpr std::size_t kAdtsHeaderBytes = 7;

enum Version { kVersion2Half = 0, kReserved = 1, kVersion2 = 2, kVersion1 = 3 };

// kbit/s by the index in the head; the two tables are those of version 1 and of the lower rates.
using BitRates = std::array<std::uint16_t, 15>;
constexpr std::array<BitRates, 3> kBitRates1{{
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
}};
constexpr std::array<BitRates, 3> kBitRates2{{
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
}};
constexpr std::array<int, 3> kMpegRates{44100, 48000, 32000};
constexpr std::array<int, 13> kAdtsRates{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                         22050, 16000, 12000, 11025, 8000,  7350};

}  // namespace

std::optional<PacketHeader> mpegHeader(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < kMpegHeaderBytes || bytes[0] != 0xFF || (bytes[1] & 0xE0U) != 0xE0U)
        return {};
    const unsigned version = bytes[1] >> 3U & 3U;
    const unsigned layer = 4U - (bytes[1] >> 1U & 3U);  // 4 is none
    const unsigned bitRateIndex = bytes[2] >> 4U;
    const unsigned rateIndex = bytes[2] >> 2U & 3U;
    if (version == kReserved || layer == 4 || bitRateIndex == 0 || bitRateIndex == 15 || rateIndex == 3)
        return {};
    const unsigned rateShift = version == kVersion1 ? 0 : version == kVersion2 ? 1 : 2;
    const int padding = bytes[2] >> 1U & 1U;
    const int bitRate = 1000 * (version == kVersion1 ? kBitRates1 : kBitRates2)[layer - 1][bitRateIndex];

    PacketHeader header;
    header.sampleRate = kMpegRates[rateIndex] >> rateShift;
    header.channels = bytes[3] >> 6U == 3U ? 1 : 2;
    switch (layer) {
    case 1:
        header.frames = 384;
        header.bytes = (12 * bitRate / header.sampleRate + padding) * 4;
        break;
    case 2:
        header.frames = 1152;
        header.bytes = 144 * bitRate / header.sampleRate + padding;
        break;
    default:
        header.frames = version == kVersion1 ? 1152 : 576;
        header.bytes = header.frames / 8 * bitRate / header.sampleRate + padding;
        break;
    }
    return header;
}

std::optional<PacketHeader> adtsHeader(std::span<const std::uint8_t> bytes)
{
    constexpr int kFramesPerBlock = 1024;
    if (bytes.size() < kAdtsHeaderBytes || bytes[0] != 0xFF || (bytes[1] & 0xF6U) != 0xF0U)
        return {};
    const unsigned rateIndex = bytes[2] >> 2U & 15U;
    if (rateIndex >= kAdtsRates.size())
        return {};
    PacketHeader header;
    header.sampleRate = kAdtsRates[rateIndex];
    header.channels = static_cast<int>((bytes[2] & 1U) << 2U | bytes[3] >> 6U);
    header.bytes = static_cast<int>((bytes[3] & 3U) << 11U | unsigned{bytes[4]} << 3U | bytes[5] >> 5U);
    header.frames = static_cast<int>((bytes[6] & 3U) + 1U) * kFramesPerBlock;
    if (header.bytes < static_cast<int>(kAdtsHeaderBytes))
        return {};
    return header;
}
