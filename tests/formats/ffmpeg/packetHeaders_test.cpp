#include "formats/ffmpeg/packetHeaders.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<PacketHeader> mpeg(const Bytes& bytes) { return mpegHeader(bytes); }
std::optional<PacketHeader> adts(const Bytes& bytes) { return adtsHeader(bytes); }

std::optional<PacketHeader> is(int bytes, int frames, int rate, int channels)
{
    return PacketHeader{bytes, frames, rate, channels};
}

// In each: a frame takes frames / 8 * bit rate / sample rate bytes, rounded down, and one more if it is
// padded; of layer I the same in units of four bytes.

TEST(MpegHeader, OfLayerThree)
{
    EXPECT_EQ(mpeg({0xFF, 0xFB, 0x90, 0x44}), is(417, 1152, 44100, 2));  // 128 kbit/s, 417.96
    EXPECT_EQ(mpeg({0xFF, 0xFB, 0x92, 0x44}), is(418, 1152, 44100, 2));  // padded
    EXPECT_EQ(mpeg({0xFF, 0xFA, 0xE4, 0xC0}), is(960, 1152, 48000, 1));  // 320 kbit/s, with a checksum
    EXPECT_EQ(mpeg({0xFF, 0xFB, 0x18, 0x00}), is(144, 1152, 32000, 2));  // 32 kbit/s
}

TEST(MpegHeader, OfTheLowerRates)
{
    EXPECT_EQ(mpeg({0xFF, 0xF3, 0x80, 0xC4}), is(208, 576, 22050, 1));  // 64 kbit/s, 208.98
    EXPECT_EQ(mpeg({0xFF, 0xF3, 0xE4, 0x00}), is(480, 576, 24000, 2));  // 160 kbit/s
    EXPECT_EQ(mpeg({0xFF, 0xE3, 0x18, 0x00}), is(72, 576, 8000, 2));    // 8 kbit/s
    EXPECT_EQ(mpeg({0xFF, 0xE3, 0x10, 0x00}), is(52, 576, 11025, 2));   // 8 kbit/s, 52.24
}

TEST(MpegHeader, OfLayersOneAndTwo)
{
    EXPECT_EQ(mpeg({0xFF, 0xFF, 0xC0, 0x00}), is(416, 384, 44100, 2));   // 384 kbit/s, 104.49 * 4
    EXPECT_EQ(mpeg({0xFF, 0xFF, 0xC2, 0x00}), is(420, 384, 44100, 2));   // padded by four
    EXPECT_EQ(mpeg({0xFF, 0xFD, 0xA4, 0x00}), is(576, 1152, 48000, 2));  // 192 kbit/s
    EXPECT_EQ(mpeg({0xFF, 0xF5, 0x84, 0x00}), is(384, 1152, 24000, 2));  // 64 kbit/s
    EXPECT_EQ(mpeg({0xFF, 0xF7, 0xE4, 0x00}), is(512, 384, 24000, 2));   // 256 kbit/s
}

TEST(MpegHeader, WhatIsNone)
{
    EXPECT_FALSE(mpeg({}));
    EXPECT_FALSE(mpeg({0xFF, 0xFB, 0x90}));
    EXPECT_FALSE(mpeg({0xFE, 0xFB, 0x90, 0x44}));
    EXPECT_FALSE(mpeg({0xFF, 0xDB, 0x90, 0x44})) << "ten bits of eleven";
    EXPECT_FALSE(mpeg({0xFF, 0xEB, 0x90, 0x44})) << "the reserved version";
    EXPECT_FALSE(mpeg({0xFF, 0xF9, 0x90, 0x44})) << "the reserved layer";
    EXPECT_FALSE(mpeg({0xFF, 0xFB, 0x00, 0x44})) << "of free format";
    EXPECT_FALSE(mpeg({0xFF, 0xFB, 0xF0, 0x44})) << "no bit rate";
    EXPECT_FALSE(mpeg({0xFF, 0xFB, 0x9C, 0x44})) << "no sample rate";
}

TEST(AdtsHeader, TellsRateChannelsAndLength)
{
    // 44.1 kHz, two channels, 371 = 0b00'00101110'011 bytes, one block.
    EXPECT_EQ(adts({0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFC}), is(371, 1024, 44100, 2));
    // The same of the older version, with a checksum.
    EXPECT_EQ(adts({0xFF, 0xF8, 0x50, 0x80, 0x2E, 0x7F, 0xFC}), is(371, 1024, 44100, 2));
    // 8 kHz, six channels, the longest, four blocks.
    EXPECT_EQ(adts({0xFF, 0xF1, 0x6D, 0x83, 0xFF, 0xFF, 0xFF}), is(8191, 4096, 8000, 6));
    // 96 kHz, one channel, nothing but a head.
    EXPECT_EQ(adts({0xFF, 0xF1, 0x40, 0x40, 0x00, 0xFF, 0xFC}), is(7, 1024, 96000, 1));
}

TEST(AdtsHeader, WhatIsNone)
{
    EXPECT_FALSE(adts({}));
    EXPECT_FALSE(adts({0xFF, 0xF1, 0x50, 0x80, 0x2E, 0x7F}));
    EXPECT_FALSE(adts({0xFE, 0xF1, 0x50, 0x80, 0x2E, 0x7F, 0xFC}));
    EXPECT_FALSE(adts({0xFF, 0xE1, 0x50, 0x80, 0x2E, 0x7F, 0xFC})) << "eleven bits of twelve";
    EXPECT_FALSE(adts({0xFF, 0xFB, 0x50, 0x80, 0x2E, 0x7F, 0xFC})) << "a layer: that is an mp3";
    EXPECT_FALSE(adts({0xFF, 0xF1, 0x74, 0x80, 0x2E, 0x7F, 0xFC})) << "no sample rate";
    EXPECT_FALSE(adts({0xFF, 0xF1, 0x50, 0x80, 0x00, 0xDF, 0xFC})) << "shorter than its head";
}

}  // namespace
