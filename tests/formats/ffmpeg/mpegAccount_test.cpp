#include "formats/ffmpeg/mpegAccount.h"

#include "formats/tags.h"
#include "support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using testsupport::apeTag;
using testsupport::id3v1;
using testsupport::id3v2;

// Packets of 44.1 kHz in stereo, 1152 frames each.
constexpr std::int64_t kFrames = 1152;

/// At 128 kbit/s: 417 bytes.
std::string packet128() { return "\xFF\xFB\x90\x44" + std::string(413, 'x'); }

/// At 320 kbit/s: 1044 bytes.
std::string packet320() { return "\xFF\xFB\xE0\x44" + std::string(1040, 'x'); }

std::string times(const std::string& packet, int count)
{
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += packet;
    return bytes;
}

std::string bigEndian(std::uint32_t value)
{
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        bytes.push_back(static_cast<char>(value >> shift & 0xFFU));
    return bytes;
}

/// The packet that tells how many there are, itself not among them.
std::string xing(std::uint32_t packets, std::uint32_t bytes)
{
    std::string packet = packet128();
    packet.replace(36, 16, "Xing" + bigEndian(3) + bigEndian(packets) + bigEndian(bytes));
    return packet;
}

std::string vbri(std::uint32_t bytes)
{
    std::string packet = packet128();
    packet.replace(36, 14, "VBRI" + std::string(6, '\0') + bigEndian(bytes));
    return packet;
}

MpegAccount account(const std::string& bytes, std::size_t firstPacket, std::int64_t statedFrames)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a.mp3", bytes);
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    return mpegAccount(feed, static_cast<std::int64_t>(firstPacket), statedFrames);
}

TEST(MpegAccountTest, OneSixteenthMoreOrLessFits)
{
    const std::string sound = times(packet128(), 160);
    EXPECT_EQ(account(sound, 0, 160 * kFrames), MpegAccount::kFits);
    EXPECT_EQ(account(sound, 0, 169 * kFrames), MpegAccount::kFits);
    EXPECT_EQ(account(sound, 0, 171 * kFrames), MpegAccount::kContradicts);
    EXPECT_EQ(account(sound, 0, 151 * kFrames), MpegAccount::kFits);
    EXPECT_EQ(account(sound, 0, 149 * kFrames), MpegAccount::kContradicts);
}

TEST(MpegAccountTest, TagsAreLeftOut)
{
    const std::string head = id3v2(100000) + id3v2(5000);
    const std::string sound = times(packet128(), 160);
    const std::string tail = apeTag(300000, true) + id3v1();
    EXPECT_EQ(account(head + sound + tail, head.size(), 160 * kFrames), MpegAccount::kFits);
}

TEST(MpegAccountTest, PacketsOfEverySizeAreTakenIntoAccount)
{
    // Quiet for a while, then loud: the first packets are no measure of the rest.
    const std::string sound = times(packet128(), 500) + times(packet320(), 1500);
    EXPECT_EQ(account(sound, 0, 2000 * kFrames), MpegAccount::kFits);
    EXPECT_EQ(account(sound, 0, 1000 * kFrames), MpegAccount::kContradicts);
    EXPECT_EQ(account(sound, 0, 3000 * kFrames), MpegAccount::kContradicts);
}

TEST(MpegAccountTest, WhatIsShorterThanItsHeadSaysInBytesTooWasCutOff)
{
    const std::string sound = times(packet128(), 160);
    const auto bytes = static_cast<std::uint32_t>(sound.size());
    for (const std::string& head : {xing(320, 417 + 2 * bytes), vbri(417 + 2 * bytes)}) {
        EXPECT_EQ(account(head + sound, head.size(), 320 * kFrames), MpegAccount::kCutShort);
        EXPECT_EQ(account(id3v2(999) + head + sound, 1009 + head.size(), 320 * kFrames),
                  MpegAccount::kCutShort);
    }
    for (const std::string& head : {xing(320, 417 + bytes), vbri(417 + bytes)})
        EXPECT_EQ(account(head + sound, head.size(), 320 * kFrames), MpegAccount::kContradicts);
}

TEST(MpegAccountTest, WithoutAnyPacketNothingFits)
{
    EXPECT_EQ(account(std::string(100000, 'x'), 0, kFrames), MpegAccount::kContradicts);
}

}  // namespace
