#include "formats/flac/flacFileReader.h"

#include "formats/FaultyFile.h"
#include "formats/flac/flacBytes.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::firstDifference;
using testsupport::flacReaderOf;
using testsupport::flacReaderOfBytes;
using testsupport::flacScale;
using testsupport::LogCapture;
using testsupport::Pcm;
using testsupport::read;
using testsupport::readAll;
using testsupport::readWholeFile;
using testsupport::scaled;
using testsupport::slice;
using testsupport::TempDir;
using testsupport::testPcm;

using FileUnsupported = eboFormatReader::FileUnsupported;

constexpr std::size_t kBlock = 4096;

class FlacReader : public testing::Test {
protected:
    /// The path of a new file of the test sound, native if it is not named .oga.
    std::string sound(const std::string& name, const std::vector<std::string>& options = {})
    {
        testsupport::encodeFlac(dir_.file(name), pcm_, options);
        return dir_.file(name);
    }

    /// All samples are as they should be, but those of the lost frames are silent; with them the decoder may
    /// lose the block behind them.
    void expectLost(const std::vector<float>& samples, std::size_t first, std::size_t last) const
    {
        EXPECT_EQ(firstDifference(slice(samples, 2, 0, first), slice(expected_, 2, 0, first)), -1);
        EXPECT_THAT(slice(samples, 2, first, last - first), Each(0.0f));
        last += kBlock;
        EXPECT_EQ(firstDifference(slice(samples, 2, last, 50000), slice(expected_, 2, last, 50000)), -1);
    }

    TempDir dir_;
    const Pcm pcm_ = testPcm(50000, 44100, 2, 16);
    const std::vector<float> expected_ = scaled(pcm_.samples, flacScale(16));
};

TEST_F(FlacReader, TwentyFourBitsAreScaledByTheLargestValue)
{
    Pcm pcm{44100, 1, 24, {8388607, -8388608, 1, -4194304}};
    testsupport::encodeFlac(dir_.file("a.flac"), pcm);
    const std::vector<float> samples = readAll(*flacReaderOf(dir_.file("a.flac")));
    const float scale = 1.0f / 8388607.0f;
    EXPECT_THAT(samples, ElementsAre(8388607.0f * scale, -8388608.0f * scale, scale, -4194304.0f * scale));
    EXPECT_LT(samples[1], -1.0f);
}

TEST_F(FlacReader, SixteenBitsAreScaledByTheLargestValue)
{
    Pcm pcm{44100, 1, 16, {32767, -32768, 1}};
    testsupport::encodeFlac(dir_.file("a.flac"), pcm);
    const float scale = 1.0f / 32767.0f;
    EXPECT_THAT(readAll(*flacReaderOf(dir_.file("a.flac"))),
                ElementsAre(32767.0f * scale, -32768.0f * scale, scale));
}

TEST_F(FlacReader, AFileThatEndsEarlyReadsAsFarAsItGoesWithoutAMessage)
{
    const std::string path = sound("a.flac");
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path);
    const std::string bytes = readWholeFile(path);
    for (const std::size_t size :
         {blocks[3], blocks[3] + 1, blocks[3] + 5, blocks[3] + 1000, blocks[4] - 1}) {
        const auto reader = flacReaderOfBytes("/a.flac", bytes.substr(0, size));
        const LogCapture log;
        // Between two blocks nothing shows that it was longer.
        EXPECT_EQ(reader->length(), size == blocks[3] ? 3 * kBlock : 50000U) << size;
        EXPECT_EQ(firstDifference(readAll(*reader), slice(expected_, 2, 0, 3 * kBlock)), -1) << size;
        EXPECT_THAT(log.texts(), IsEmpty()) << size;
    }
}

TEST_F(FlacReader, ReadingOnNeverSeeks)
{
    for (const char* options : {"--blocksize=4608", "--blocksize=192", "--blocksize=4096"}) {
        const auto file =
            ebo::makeRef<testsupport::FaultyFile>("/a.flac", readWholeFile(sound("a.flac", {options})));
        const auto reader = ebo::makeRef<flacFileReader>(file);
        file->seeks = 0;
        file->bytesRead = 0;
        for (std::size_t first = 0; first < 50000; first += 1000)
            ASSERT_EQ(firstDifference(read(*reader, first, 1000), slice(expected_, 2, first, 1000)), -1);
        EXPECT_EQ(file->seeks, 0);
        EXPECT_LE(file->bytesRead, file->size());
    }
}

TEST_F(FlacReader, ARequestInTheMiddleOfAFrameDeliversNothing)
{
    const auto reader = flacReaderOf(sound("a.flac"));
    std::vector<float> samples(100);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 1, 100), 0U);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 2, 99), 98U) << "whole frames only";
}

TEST_F(FlacReader, BehindTheEndThereIsNothingAndTheStartIsStillThere)
{
    for (const char* name : {"a.flac", "a.oga"}) {
        const auto reader = flacReaderOf(sound(name));
        for (const std::uint64_t frame : {50000ULL, 50001ULL, 4294967295ULL, 1ULL << 40U, ~0ULL / 2}) {
            EXPECT_THAT(read(*reader, frame, 10), IsEmpty()) << frame;
            EXPECT_EQ(read(*reader, 7, 10), slice(expected_, 2, 7, 10)) << frame;
        }
        EXPECT_EQ(read(*reader, 49990, 100), slice(expected_, 2, 49990, 10));
    }
}

TEST_F(FlacReader, TellsWhatThereIsToTell)
{
    const auto reader = flacReaderOf(sound("a.flac"));
    EXPECT_EQ(reader->encoderDelay(), 0);
    EXPECT_EQ(reader->audioStreamCount(), 1U);
    EXPECT_EQ(reader->sampleCount(), 100000U);
    reader->selectAudioStream(3);
    EXPECT_EQ(read(*reader, 0, 10), slice(expected_, 2, 0, 10));
}

TEST_F(FlacReader, AStreamFromAPipeIsAsLongAsItsLastBlockTells)
{
    const std::string native = testsupport::encodeFlacThroughPipe(pcm_);
    const std::string inOgg = testsupport::encodeFlacThroughPipe(pcm_, {"--ogg"});
    const LogCapture log;
    for (const auto& reader : {flacReaderOfBytes("/a.flac", native), flacReaderOfBytes("/a.oga", inOgg),
                               flacReaderOfBytes("/a.flac", native + std::string(1000, '\0'))}) {
        EXPECT_EQ(reader->length(), 50000U);
        EXPECT_EQ(firstDifference(readAll(*reader), expected_), -1);
        EXPECT_EQ(ebo::dynamicCast<flacFileReader>(reader->clone())->length(), 50000U);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(FlacReader, TheLastBlockIsFoundHoweverFarFromTheEnd)
{
    // Behind it lies garbage, several times as much as is searched first.
    const std::string native = testsupport::encodeFlacThroughPipe(pcm_);
    EXPECT_EQ(flacReaderOfBytes("/a.flac", native + std::string(3000000, 'x'))->length(), 50000U);
}

TEST_F(FlacReader, AStreamFromAPipeWithoutSoundHasNoLength)
{
    const std::string native = testsupport::encodeFlacThroughPipe(Pcm{});
    const auto reader = flacReaderOfBytes("/a.flac", native);
    EXPECT_EQ(reader->length(), 0U);
    EXPECT_THAT(readAll(*reader), IsEmpty());
}

TEST_F(FlacReader, TheLengthEndsWithItsType)
{
    std::string bytes = readWholeFile(sound("a.flac"));
    bytes.resize(bytes.size() - 10);  // broken off, it may well have been longer
    testsupport::setFlacTotalFrames(bytes, 0xffffffffU);
    EXPECT_EQ(flacReaderOfBytes("/a.flac", bytes)->length(), 4294967295U);
    testsupport::setFlacTotalFrames(bytes, 0xfffffffffU);
    EXPECT_EQ(flacReaderOfBytes("/a.flac", bytes)->length(), 4294967295U);
    testsupport::setFlacTotalFrames(bytes, 0xfffffffeU);
    EXPECT_EQ(flacReaderOfBytes("/a.flac", bytes)->length(), 4294967294U);
}

TEST_F(FlacReader, OggIsExpectedUnderTheNameOgaAlone)
{
    const std::string native = readWholeFile(sound("a.flac"));
    const std::string inOgg = readWholeFile(sound("a.oga"));
    EXPECT_NO_THROW(flacReaderOfBytes("/a.oga", inOgg));
    EXPECT_NO_THROW(flacReaderOfBytes("/a.OGA", native));
    EXPECT_NO_THROW(flacReaderOfBytes("x", native)) << "a name shorter than an extension";
    const LogCapture quiet;
    EXPECT_THROW(flacReaderOfBytes("/a.OGA", inOgg), FileUnsupported) << "the case counts";
    EXPECT_THROW(flacReaderOfBytes("/a.flac", inOgg), FileUnsupported);
    EXPECT_THROW(flacReaderOfBytes("/a.oga", native), FileUnsupported);
}

TEST_F(FlacReader, ACloneOfAFileThatIsGoneIsUnsupported)
{
    const auto reader = flacReaderOf(sound("a.flac"));
    std::filesystem::remove(dir_.file("a.flac"));
    EXPECT_THROW((void)reader->clone(), FileUnsupported);
}

TEST_F(FlacReader, TagsAndPicturesInFrontAreSkipped)
{
    const std::string bytes = readWholeFile(sound("a.flac"));
    std::string id3("ID3\4\0\0\0\0\x7\x68", 10);
    id3.append(7 * 128 + 104, 'x');
    std::string pictures = bytes;
    for (int i = 0; i < 3; ++i)
        pictures.insert(testsupport::kFlacStreamInfo + 34,
                        testsupport::flacMetadata(6, 8000000, std::string(8000000, 'p')));
    for (const std::string& decorated : {id3 + bytes, pictures, id3 + pictures})
        EXPECT_EQ(firstDifference(readAll(*flacReaderOfBytes("/a.flac", decorated)), expected_), -1);
}

TEST_F(FlacReader, ABlockOfFewerChannelsIsLoggedAndWrittenByItsOwnCount)
{
    const std::string stereo = sound("a.flac");
    testsupport::encodeFlac(dir_.file("b.flac"), testPcm(50000, 44100, 1, 16));
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(stereo);
    const std::vector<std::size_t> monoBlocks = testsupport::flacBlockOffsets(dir_.file("b.flac"));
    std::string bytes = readWholeFile(stereo);
    bytes.replace(blocks[1], blocks[2] - blocks[1], readWholeFile(dir_.file("b.flac")), monoBlocks[1],
                  monoBlocks[2] - monoBlocks[1]);
    const auto reader = flacReaderOfBytes("/a.flac", bytes);
    const LogCapture log;
    const std::vector<float> samples = read(*reader, 0, 3 * kBlock);
    EXPECT_THAT(log.texts(), ElementsAre("Broken frame, channels: 1 , but should be: 2"));

    std::vector<float> expected = slice(expected_, 2, 0, kBlock);
    const std::vector<float> mono =
        slice(scaled(testPcm(50000, 44100, 1, 16).samples, flacScale(16)), 1, kBlock, kBlock);
    expected.insert(expected.end(), mono.begin(), mono.end());
    const std::vector<float> next = slice(expected_, 2, 2 * kBlock, kBlock);
    expected.insert(expected.end(), next.begin(), next.end());
    expected.resize(6 * kBlock);  // what the mono block did not fill is silent
    EXPECT_EQ(firstDifference(samples, expected), -1);
    EXPECT_EQ(firstDifference(read(*reader, 3 * kBlock, 1000), slice(expected_, 2, 3 * kBlock, 1000)), -1)
        << "the next read is as ever";
}

TEST_F(FlacReader, ABlockOfMoreChannelsStaysWithinTheBuffer)
{
    testsupport::encodeFlac(dir_.file("mono.flac"), testPcm(50000, 44100, 1, 16));
    testsupport::encodeFlac(dir_.file("eight.flac"), testPcm(50000, 44100, 8, 16));
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(dir_.file("mono.flac"));
    const std::vector<std::size_t> eights = testsupport::flacBlockOffsets(dir_.file("eight.flac"));
    std::string bytes = readWholeFile(dir_.file("mono.flac"));
    bytes.replace(blocks[1], blocks[2] - blocks[1], readWholeFile(dir_.file("eight.flac")), eights[1],
                  eights[2] - eights[1]);
    const std::vector<float> mono = scaled(testPcm(50000, 44100, 1, 16).samples, flacScale(16));
    const std::vector<float> eight = scaled(testPcm(50000, 44100, 8, 16).samples, flacScale(16));
    const LogCapture quiet;
    for (const std::size_t count :
         {kBlock + 1, kBlock + 7, kBlock + 8, kBlock + 1000, 2 * kBlock, 3 * kBlock}) {
        const auto reader = flacReaderOfBytes("/a.flac", bytes);
        const std::vector<float> samples = read(*reader, 0, count);
        ASSERT_EQ(samples.size(), count);
        EXPECT_EQ(firstDifference(slice(samples, 1, 0, kBlock), slice(mono, 1, 0, kBlock)), -1);
        const std::size_t frames = (std::min(count, 2 * kBlock) - kBlock) / 8;
        EXPECT_EQ(firstDifference(slice(samples, 1, kBlock, 8 * frames), slice(eight, 8, kBlock, frames)),
                  -1);
    }
    // The same when its rest was kept from the read before.
    const auto reader = flacReaderOfBytes("/a.flac", bytes);
    read(*reader, 0, kBlock + 100);
    const std::vector<float> rest = read(*reader, kBlock + 100, 50);
    EXPECT_EQ(firstDifference(slice(rest, 1, 0, 48), slice(eight, 8, kBlock + 100, 6)), -1);
}

TEST_F(FlacReader, MissingBlocksAreSilentAndWhatFollowsKeepsItsPlace)
{
    const std::string path = sound("a.flac");
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path);
    std::string bytes = readWholeFile(path);
    bytes.erase(blocks[2], blocks[4] - blocks[2]);
    const LogCapture quiet;
    for (const std::size_t step : {std::size_t{1000}, kBlock, std::size_t{16384}, std::size_t{50000}}) {
        const auto reader = flacReaderOfBytes("/a.flac", bytes);
        std::vector<float> samples;
        for (std::size_t first = 0; first < 50000; first += step) {
            const std::vector<float> more = read(*reader, first, step);
            samples.insert(samples.end(), more.begin(), more.end());
        }
        ASSERT_EQ(samples.size(), expected_.size()) << "in steps of " << step;
        expectLost(samples, 2 * kBlock, 4 * kBlock);
    }
}

TEST_F(FlacReader, ABrokenBlockIsLoggedAndSilent)
{
    const std::string path = sound("a.flac");
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path);
    std::string bytes = readWholeFile(path);
    bytes[blocks[3] - 1] = static_cast<char>(bytes[blocks[3] - 1] ^ 1);  // its checksum
    const auto reader = flacReaderOfBytes("/a.flac", bytes);
    const LogCapture log;
    const std::vector<float> samples = readAll(*reader);
    ASSERT_EQ(samples.size(), expected_.size());
    expectLost(samples, 2 * kBlock, 3 * kBlock);
    ASSERT_THAT(log.texts(), testing::Not(IsEmpty()));
    EXPECT_EQ(log.texts()[0], "Error during FLAC decoding: 2");
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
}

TEST_F(FlacReader, AfterAFailureTheFileReadsAgain)
{
    for (const char* name : {"/a.flac", "/a.oga"}) {
        const auto file = ebo::makeRef<testsupport::FaultyFile>(name, readWholeFile(sound(name + 1)));
        const auto reader = ebo::makeRef<flacFileReader>(file);
        EXPECT_EQ(read(*reader, 0, 10), slice(expected_, 2, 0, 10));
        const LogCapture quiet;
        file->seeksFail = true;
        EXPECT_THAT(read(*reader, 30000, 10), IsEmpty()) << "it cannot seek";
        file->seeksFail = false;
        EXPECT_EQ(read(*reader, 30000, 10), slice(expected_, 2, 30000, 10));
        file->failAt = 0;
        EXPECT_THAT(read(*reader, 100, 10), IsEmpty()) << "it cannot read";
        EXPECT_THAT(read(*reader, 100, 10), IsEmpty());
        file->failAt = testsupport::FaultyFile::kNever;
        EXPECT_EQ(firstDifference(read(*reader, 0, 50000), expected_), -1);
    }
}

// Three blocks of 65,536 frames, one more than the head has room to state, of one channel and the constant
// samples 100, 200 and 300; made by hand. The flac program plays it.
TEST_F(FlacReader, BlocksOfSixtyFourKiloFramesAreRead)
{
    constexpr std::uint8_t kBytes[] = {
        0x66, 0x4c, 0x61, 0x43, 0x80, 0x00, 0x00, 0x22, 0x00, 0x00, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x0a, 0xc4, 0x40, 0xf0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xff, 0xf8, 0x79, 0x08, 0x00, 0xff, 0xff, 0x45, 0x00,
        0x00, 0x64, 0x82, 0x85, 0xff, 0xf8, 0x79, 0x08, 0x01, 0xff, 0xff, 0x2e, 0x00, 0x00, 0xc8, 0x1c, 0x6c,
        0xff, 0xf8, 0x79, 0x08, 0x02, 0xff, 0xff, 0x93, 0x00, 0x01, 0x2c, 0xbf, 0x31};
    constexpr std::size_t kFrames = 65536;
    std::vector<float> expected;
    for (const int value : {100, 200, 300})
        expected.insert(expected.end(), kFrames, static_cast<float>(value) * flacScale(16));
    const auto reader =
        flacReaderOfBytes("/a.flac", std::string(reinterpret_cast<const char*>(kBytes), sizeof kBytes));
    EXPECT_EQ(reader->length(), 3 * kFrames);
    EXPECT_EQ(firstDifference(readAll(*reader), expected), -1);
}

}  // namespace
