#include "formats/FaultyFile.h"
#include "formats/ogg/EndlessPacketFile.h"
#include "formats/ogg/oggFileReader.h"
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

// Files that are not the Ogg Vorbis they promise: a clear refusal or a short count, never more.

namespace {

using testsupport::FaultyFile;
using testsupport::firstDifference;
using testsupport::oggReaderOfBytes;
using testsupport::readAll;
using testsupport::slice;
using testsupport::testPcm;

using FileUnsupported = eboFormatReader::FileUnsupported;

class OggBadInput : public testing::Test {
protected:
    OggBadInput()
    {
        const testsupport::TempDir dir;
        testsupport::encodeVorbis(dir.file("a.ogg"), testPcm(90000, 44100, 2, 16));
        bytes_ = testsupport::readWholeFile(dir.file("a.ogg"));
        whole_ = readAll(*oggReaderOfBytes("/a.ogg", bytes_));
    }

    std::string bytes_;
    std::vector<float> whole_;
    const testsupport::LogCapture quiet_;
};

TEST_F(OggBadInput, WhatIsNoOggVorbisIsRefused)
{
    std::mt19937 random(3);
    std::string noise(300000, ' ');
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
    for (const std::string& bytes :
         {std::string(), std::string("OggS"), std::string(100000, '\0'), noise,
          testsupport::encodeFlacThroughPipe(testPcm(5000, 44100, 2, 16)),
          testsupport::encodeFlacThroughPipe(testPcm(5000, 44100, 2, 16), {"--ogg"}),
          testsupport::runFfmpeg({"-f", "lavfi", "-i", "sine=d=1", "-f", "wav", "-"})}) {
        try {
            oggReaderOfBytes("/a.ogg", bytes);
            ADD_FAILURE() << bytes.size() << " bytes were opened";
        } catch (const FileUnsupported& refusal) {
            EXPECT_STREQ(refusal.what(), "OGG");
        }
    }
}

TEST_F(OggBadInput, EveryPrefixOfTheHeadersIsRefused)
{
    const std::vector<std::string> pages = testsupport::oggPages(bytes_);
    const std::size_t headers = pages[0].size() + pages[1].size();
    for (std::size_t size = 0; size < headers; size += 17)
        EXPECT_THROW(oggReaderOfBytes("/a.ogg", bytes_.substr(0, size)), FileUnsupported) << size;
}

TEST_F(OggBadInput, ARateOrChannelCountOfNothingIsRefused)
{
    std::vector<std::string> pages = testsupport::oggPages(bytes_);
    constexpr std::size_t kChannels = 28 + 11;  // in the identification header, behind the page's own
    const std::string first = pages[0];
    const auto patched = [&](std::size_t at, const std::string& value) {
        pages[0] = first;
        pages[0].replace(at, value.size(), value);
        testsupport::sealOggPage(pages[0]);
        return testsupport::join(pages);
    };
    EXPECT_EQ(patched(kChannels, "\2"), bytes_) << "the checksum is that of the encoder";
    EXPECT_THROW(oggReaderOfBytes("/a.ogg", patched(kChannels, std::string(1, '\0'))), FileUnsupported);
    EXPECT_THROW(oggReaderOfBytes("/a.ogg", patched(kChannels + 1, std::string(4, '\0'))), FileUnsupported);
    EXPECT_THROW(oggReaderOfBytes("/a.ogg", patched(kChannels + 1, std::string(4, '\xff'))), FileUnsupported);
}

TEST_F(OggBadInput, ACommentOfLyingLengthIsRefused)
{
    std::vector<std::string> pages = testsupport::oggPages(bytes_);
    const std::size_t vendorLength = pages[1].find("\3vorbis") + 7;
    for (const std::string& length :
         {std::string("\xff\xff\xff\xff"), std::string("\xff\xff\xff\x7f"), std::string("\0\0\0\x10", 4)}) {
        std::vector<std::string> lying = pages;
        lying[1].replace(vendorLength, 4, length);
        testsupport::sealOggPage(lying[1]);
        EXPECT_THROW(oggReaderOfBytes("/a.ogg", testsupport::join(lying)), FileUnsupported);
    }
}

TEST_F(OggBadInput, TablesThatCannotBeMadeGiveNothingHoweverOftenTheyAreAskedFor)
{
    const std::vector<std::string> pages = testsupport::oggPages(bytes_);
    // In the setup header, behind its mark, the number of books and the head of the first book: the lengths
    // of its codewords. Too many short ones are no code.
    const std::size_t lengths = pages[1].find("\5vorbis") + 7 + 1 + 8;
    int emptyReads = 0;
    for (std::size_t bytes = 1; bytes < 40; ++bytes) {
        std::vector<std::string> broken = pages;
        broken[1].replace(lengths, bytes, bytes, '\0');
        testsupport::sealOggPage(broken[1]);
        try {
            const auto reader = oggReaderOfBytes("/a.ogg", testsupport::join(broken));
            std::vector<float> samples(200);
            for (const std::uint64_t first : {0U, 0U, 2000U, 2000U, 0U}) {
                if (reader->readInterleaved(samples.data(), first, samples.size()) == 0)
                    ++emptyReads;
            }
        } catch (const FileUnsupported&) {
            continue;
        }
    }
    EXPECT_GT(emptyReads, 0) << "none got as far as the tables";
}

TEST_F(OggBadInput, APacketWithoutEndIsGivenUp)
{
    const std::vector<std::string> pages = testsupport::oggPages(bytes_);
    const auto comments = ebo::makeRef<testsupport::EndlessPacketFile>("/a.ogg", pages[0], 7U, 1U);
    EXPECT_THROW((void)ebo::makeRef<oggFileReader>(comments), FileUnsupported);
    EXPECT_LE(comments->bytesRead, 2 * DecoderFeed::kMostBytesPerCall);
}

TEST_F(OggBadInput, ASlowFileReadsTheSame)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", bytes_);
    file->delay = std::chrono::microseconds(200);
    EXPECT_EQ(firstDifference(readAll(*ebo::makeRef<oggFileReader>(file)), whole_), -1);
}

TEST_F(OggBadInput, AFileThatDeliversAFewBytesAtATimeReadsTheSame)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", bytes_);
    file->shortReads = true;
    EXPECT_EQ(firstDifference(readAll(*ebo::makeRef<oggFileReader>(file)), whole_), -1);
}

TEST_F(OggBadInput, AFileThatFailsInTheMiddleEndsThere)
{
    for (const std::int64_t failure : {-1, 0, -1000000}) {
        const auto file = ebo::makeRef<FaultyFile>("/a.ogg", bytes_);
        const auto reader = ebo::makeRef<oggFileReader>(file);
        file->failAt = static_cast<std::int64_t>(bytes_.size() / 2);
        file->failWith = failure;
        const std::vector<float> samples = readAll(*reader);
        EXPECT_GT(samples.size(), 40000U) << "fails with " << failure;
        EXPECT_LT(samples.size(), 140000U) << "fails with " << failure;
        EXPECT_EQ(firstDifference(samples, slice(whole_, 1, 0, samples.size())), -1);
    }
}

TEST_F(OggBadInput, AFileThatFailsFromTheBeginningIsRefused)
{
    for (const std::int64_t failAt : {0, 1, 100, 3000}) {
        const auto file = ebo::makeRef<FaultyFile>("/a.ogg", bytes_);
        file->failAt = failAt;
        EXPECT_THROW((void)ebo::makeRef<oggFileReader>(file), FileUnsupported) << "at byte " << failAt;
    }
}

TEST_F(OggBadInput, AFileThatCannotSeekIsRefused)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", bytes_);
    file->seeksFail = true;
    EXPECT_THROW((void)ebo::makeRef<oggFileReader>(file), FileUnsupported);
}

}  // namespace
