#include "formats/FaultyFile.h"
#include "formats/flac/flacBytes.h"
#include "formats/flac/flacFileReader.h"
#include "formats/ogg/EndlessPacketFile.h"
#include "formats/ogg/oggPages.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

// Files that are not the FLAC they promise: a clear refusal or a short count, never more.

namespace {

using testsupport::FaultyFile;
using testsupport::firstDifference;
using testsupport::flacMetadata;
using testsupport::flacReaderOfBytes;
using testsupport::kFlacStreamInfo;
using testsupport::Pcm;
using testsupport::read;
using testsupport::readAll;
using testsupport::slice;
using testsupport::testPcm;

using FileUnsupported = eboFormatReader::FileUnsupported;

constexpr std::size_t kStreamInfoBytes = 34;

class FlacBadInput : public testing::Test {
protected:
    const Pcm pcm_ = testPcm(50000, 44100, 2, 16);
    const std::vector<float> expected_ = testsupport::scaled(pcm_.samples, testsupport::flacScale(16));

    /// A file made by the flac program, without seek table and length unless told otherwise.
    const std::string native_ = testsupport::encodeFlacThroughPipe(pcm_, {"--no-seektable"});
    const std::string inOgg_ = testsupport::encodeFlacThroughPipe(pcm_, {"--ogg", "--no-seektable"});
    const testsupport::LogCapture quiet_;
};

TEST_F(FlacBadInput, WhatIsNoFlacIsRefused)
{
    std::mt19937 random(3);
    std::string noise(300000, ' ');
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
    std::string noSoundAfterSync(1000, '\0');
    noSoundAfterSync.replace(0, 2, "\xff\xf8");
    for (const char* name : {"/a.flac", "/a.oga"}) {
        for (const std::string& bytes :
             {std::string(), std::string("fLaC"), std::string("OggS"), std::string(100000, '\0'),
              std::string(100000, '\xff'), noise, noSoundAfterSync,
              testsupport::runFfmpeg({"-f", "lavfi", "-i", "sine=d=1", "-f", "wav", "-"})}) {
            try {
                flacReaderOfBytes(name, bytes);
                ADD_FAILURE() << bytes.size() << " bytes were opened as " << name;
            } catch (const FileUnsupported& refusal) {
                EXPECT_STREQ(refusal.what(), "FLAC");
            }
        }
    }
}

TEST_F(FlacBadInput, WithoutStreamInfoItIsRefusedWhateverComesAfter)
{
    std::string padded = native_;
    padded.replace(4, 4 + kStreamInfoBytes,
                   flacMetadata(1, kStreamInfoBytes, std::string(kStreamInfoBytes, '\0')));
    EXPECT_THROW(flacReaderOfBytes("/a.flac", padded), FileUnsupported);
    EXPECT_THROW(flacReaderOfBytes("/a.flac", native_.substr(0, 20)), FileUnsupported);
}

TEST_F(FlacBadInput, AStreamWithoutSampleRateIsRefused)
{
    std::string bytes = native_;
    testsupport::setFlacSampleRate(bytes, 0);
    EXPECT_THROW(flacReaderOfBytes("/a.flac", bytes), FileUnsupported);
    testsupport::setFlacSampleRate(bytes, 44100);
    EXPECT_EQ(bytes, native_);
}

TEST_F(FlacBadInput, AStreamOfOneBitIsRefused)
{
    std::string bytes = native_;
    // Five bits of depth lie across two bytes: one behind the channels, four in front of the length.
    bytes[kFlacStreamInfo + 12] = static_cast<char>(bytes[kFlacStreamInfo + 12] & 0xfe);
    bytes[kFlacStreamInfo + 13] = static_cast<char>(bytes[kFlacStreamInfo + 13] & 0x0f);
    EXPECT_THROW(flacReaderOfBytes("/a.flac", bytes), FileUnsupported);
}

TEST_F(FlacBadInput, EveryPrefixIsRefusedOrShort)
{
    for (const auto& [name, bytes] : {std::pair("/a.flac", native_), std::pair("/a.oga", inOgg_)}) {
        for (std::size_t size = 0; size < 400; ++size) {
            try {
                EXPECT_LT(readAll(*flacReaderOfBytes(name, bytes.substr(0, size))).size(), expected_.size());
            } catch (const FileUnsupported&) {
                continue;
            }
        }
    }
}

TEST_F(FlacBadInput, MetadataOfLyingLengthIsBounded)
{
    const std::size_t behindInfo = kFlacStreamInfo + kStreamInfoBytes;
    for (unsigned type = 0; type < 127; type += type < 7 ? 1 : 40) {
        std::string bytes = native_;
        bytes.insert(behindInfo, flacMetadata(type, 0xffffff, std::string(1000, '\xff')));
        bytes[4] = '\0';  // the stream info is not the last block
        try {
            readAll(*flacReaderOfBytes("/a.flac", bytes));
        } catch (const FileUnsupported&) {
            continue;
        }
    }
    const std::string id3("ID3\4\0\0\x7f\x7f\x7f\x7f", 10);
    EXPECT_THROW(flacReaderOfBytes("/a.flac", id3 + native_), FileUnsupported);
}

TEST_F(FlacBadInput, APacketWithoutEndIsGivenUp)
{
    // The head of the stream, then a packet of metadata that never ends.
    const std::vector<std::string> pages = testsupport::oggPages(inOgg_);
    std::uint32_t serial = 0;
    for (unsigned i = 0; i < 4; ++i)
        serial |= std::uint32_t{static_cast<std::uint8_t>(pages[0][14 + i])} << (8 * i);
    const auto file = ebo::makeRef<testsupport::EndlessPacketFile>("/a.oga", pages[0], serial, 1U);
    EXPECT_THROW((void)ebo::makeRef<flacFileReader>(file), FileUnsupported);
    EXPECT_LE(file->bytesRead, DecoderFeed::kMostBytesPerCall + 65536);
}

TEST_F(FlacBadInput, ALyingSeekTableLeadsToTheFrameOrNowhere)
{
    std::string bytes = native_;
    std::string points;
    for (unsigned char i = 0; i < 50; ++i)
        points += std::string(7, '\0') + static_cast<char>(i) + std::string(6, '\0') +
                  static_cast<char>(255 - i) + "\x13\x10\1";
    bytes.insert(kFlacStreamInfo + kStreamInfoBytes,
                 flacMetadata(3, static_cast<std::uint32_t>(points.size()), points));
    const auto reader = flacReaderOfBytes("/a.flac", bytes);
    std::mt19937 random(4);
    for (int i = 0; i < 50; ++i) {
        const std::size_t first = random() % 49000;
        const std::vector<float> samples = read(*reader, first, 1000);
        if (!samples.empty()) {
            EXPECT_EQ(firstDifference(samples, slice(expected_, 2, first, 1000)), -1) << "from " << first;
        }
    }
    EXPECT_EQ(firstDifference(readAll(*flacReaderOfBytes("/a.flac", bytes)), expected_), -1);
}

TEST_F(FlacBadInput, ASlowFileReadsTheSame)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.flac", native_);
    file->delay = std::chrono::microseconds(200);
    EXPECT_EQ(firstDifference(readAll(*ebo::makeRef<flacFileReader>(file)), expected_), -1);
}

TEST_F(FlacBadInput, AFileThatDeliversLessThanAskedForIsRefused)
{
    for (const auto& [name, bytes] : {std::pair("/a.flac", native_), std::pair("/a.oga", inOgg_)}) {
        const auto file = ebo::makeRef<FaultyFile>(name, bytes);
        file->shortReads = true;
        EXPECT_THROW((void)ebo::makeRef<flacFileReader>(file), FileUnsupported);

        const auto later = ebo::makeRef<FaultyFile>(name, bytes);
        const auto reader = ebo::makeRef<flacFileReader>(later);
        later->shortReads = true;
        EXPECT_LT(readAll(*reader).size(), expected_.size());
    }
}

TEST_F(FlacBadInput, AFileThatFailsInTheMiddleEndsThere)
{
    for (const auto& [name, bytes] : {std::pair("/a.flac", native_), std::pair("/a.oga", inOgg_)}) {
        for (const std::int64_t failure : {-1, 0, -1000000}) {
            const auto file = ebo::makeRef<FaultyFile>(name, bytes);
            const auto reader = ebo::makeRef<flacFileReader>(file);
            file->failAt = static_cast<std::int64_t>(bytes.size() / 2);
            file->failWith = failure;
            std::vector<float> samples;
            for (std::size_t first = 0; first < 50000; first += 1000) {
                const std::vector<float> more = read(*reader, first, 1000);
                samples.insert(samples.end(), more.begin(), more.end());
                if (more.size() < 2000)
                    break;
            }
            EXPECT_GT(samples.size(), 20000U) << name << " fails with " << failure;
            EXPECT_LT(samples.size(), 80000U) << name << " fails with " << failure;
            EXPECT_EQ(firstDifference(samples, slice(expected_, 1, 0, samples.size())), -1);
        }
    }
}

TEST_F(FlacBadInput, AFileThatFailsFromTheBeginningIsRefused)
{
    for (const std::int64_t failAt : {0, 1, 30}) {
        const auto file = ebo::makeRef<FaultyFile>("/a.flac", native_);
        file->failAt = failAt;
        EXPECT_THROW((void)ebo::makeRef<flacFileReader>(file), FileUnsupported) << "at byte " << failAt;
    }
}

TEST_F(FlacBadInput, AFileThatFailsAtItsEndHasNoLengthIfItNeededToLookThere)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.flac", native_);
    file->failAt = static_cast<std::int64_t>(native_.size()) - 10;
    EXPECT_EQ(ebo::makeRef<flacFileReader>(file)->length(), 0U);
}

}  // namespace
