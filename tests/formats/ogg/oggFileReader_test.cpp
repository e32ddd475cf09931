#include "formats/ogg/oggFileReader.h"

#include "formats/FaultyFile.h"
#include "formats/ogg/oggPages.h"
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

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::FaultyFile;
using testsupport::firstDifference;
using testsupport::LogCapture;
using testsupport::oggReaderOf;
using testsupport::oggReaderOfBytes;
using testsupport::Pcm;
using testsupport::read;
using testsupport::readAll;
using testsupport::readWholeFile;
using testsupport::slice;
using testsupport::TempDir;
using testsupport::testPcm;

using FileUnsupported = eboFormatReader::FileUnsupported;

class OggReader : public testing::Test {
protected:
    OggReader() { testsupport::encodeVorbis(path_, testPcm(kFrames, 44100, 2, 16)); }

    static constexpr std::size_t kFrames = 90000;

    TempDir dir_;
    const std::string path_ = dir_.file("a.ogg");
};

TEST_F(OggReader, AChainedFileIsRefused)
{
    testsupport::encodeVorbis(dir_.file("b.ogg"), testPcm(kFrames, 44100, 2, 16), {"--serial=8"});
    const std::string first = readWholeFile(path_);
    const std::string second = readWholeFile(dir_.file("b.ogg"));
    EXPECT_NO_THROW(oggReaderOfBytes("/a.ogg", first));
    EXPECT_NO_THROW(oggReaderOfBytes("/a.ogg", second));
    try {
        oggReaderOfBytes("/a.ogg", first + second);
        FAIL() << "it was opened";
    } catch (const FileUnsupported& refusal) {
        EXPECT_STREQ(refusal.what(), "OGG");
    }
}

TEST_F(OggReader, ARequestInTheMiddleOfAFrameDeliversNothing)
{
    const auto reader = oggReaderOf(path_);
    std::vector<float> samples(100);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 1, 100), 0U);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 2, 99), 98U) << "whole frames only";
    EXPECT_EQ(reader->readInterleaved(samples.data(), 2, 1), 0U);
}

TEST_F(OggReader, TheSmallestValueLiesALittleBelowMinusOne)
{
    // A square wave at full scale, of which coding overshoots.
    Pcm square{44100, 1, 16, {}};
    for (int frame = 0; frame < 20000; ++frame)
        square.samples.push_back(frame / 50 % 2 == 0 ? 32767 : -32768);
    testsupport::encodeVorbis(dir_.file("square.ogg"), square);
    const std::vector<std::int32_t> decoded = testsupport::decodeVorbis(dir_.file("square.ogg"));
    const auto smallest = std::min_element(decoded.begin(), decoded.end());
    ASSERT_EQ(*smallest, -32768);
    const std::vector<float> samples = readAll(*oggReaderOf(dir_.file("square.ogg")));
    EXPECT_EQ(samples[static_cast<std::size_t>(smallest - decoded.begin())], -32768.0f / 32767.0f);
    EXPECT_EQ(*std::max_element(samples.begin(), samples.end()), 1.0f);
}

TEST_F(OggReader, ARefusedSeekIsLoggedAndTheReadGoesOnFromWhereItStands)
{
    const auto reader = oggReaderOf(path_);
    const std::vector<float> whole = readAll(*oggReaderOf(path_));
    EXPECT_EQ(read(*reader, 1000, 10), slice(whole, 2, 1000, 10));
    const LogCapture log;
    EXPECT_EQ(read(*reader, kFrames + 1, 10), slice(whole, 2, 1010, 10));
    EXPECT_THAT(log.texts(), ElementsAre("Ogg seek failed ( requested: 90001 , result: -131 )"));
    EXPECT_EQ(log.entries()[0].type, QtWarningMsg);
    EXPECT_EQ(read(*reader, 1020, 10), slice(whole, 2, 1020, 10));
    EXPECT_THAT(read(*reader, 1ULL << 40U, 10), IsEmpty());
}

TEST_F(OggReader, AtTheEndThereIsNothing)
{
    const auto reader = oggReaderOf(path_);
    const LogCapture log;
    EXPECT_THAT(read(*reader, kFrames, 10), IsEmpty());
    EXPECT_EQ(read(*reader, kFrames - 10, 100).size(), 20U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(OggReader, TellsWhatThereIsToTell)
{
    const auto reader = oggReaderOf(path_);
    EXPECT_EQ(reader->length(), kFrames);
    EXPECT_EQ(reader->encoderDelay(), 0);
    EXPECT_EQ(reader->audioStreamCount(), 1U);
    EXPECT_EQ(reader->sampleCount(), 2 * kFrames);
    reader->selectAudioStream(3);
    EXPECT_EQ(read(*reader, 0, 10).size(), 20U);
}

TEST_F(OggReader, ReadingOnNeverSeeks)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", readWholeFile(path_));
    const auto reader = ebo::makeRef<oggFileReader>(file);
    file->seeks = 0;
    EXPECT_EQ(readAll(*reader).size(), 2 * kFrames);
    EXPECT_EQ(file->seeks, 0);
}

TEST_F(OggReader, AnErrorNumberThatIsLeftBehindIsNoFailure)
{
    const std::vector<float> whole = readAll(*oggReaderOf(path_));
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", readWholeFile(path_));
    file->errorNumber = EIO;
    EXPECT_EQ(firstDifference(readAll(*ebo::makeRef<oggFileReader>(file)), whole), -1);

    // The library comes upon the end of a file that was cut off when it opens it.
    const auto cut = ebo::makeRef<FaultyFile>(
        "/a.ogg", readWholeFile(path_).substr(0, static_cast<std::size_t>(file->size()) / 2));
    cut->errorNumber = EIO;
    EXPECT_NO_THROW((void)ebo::makeRef<oggFileReader>(cut));
}

TEST_F(OggReader, BehindALostPageEverythingKeepsItsPlace)
{
    std::vector<std::string> pages = testsupport::oggPages(readWholeFile(path_));
    ASSERT_GT(pages.size(), 6U);
    const std::vector<float> whole = readAll(*oggReaderOf(path_));
    pages.erase(pages.begin() + 4);
    const std::vector<float> samples = readAll(*oggReaderOfBytes("/a.ogg", testsupport::join(pages)));
    ASSERT_EQ(samples.size(), whole.size());
    EXPECT_NE(firstDifference(samples, whole), -1);
    constexpr std::ptrdiff_t kTail = 20000;
    EXPECT_TRUE(std::equal(samples.end() - kTail, samples.end(), whole.end() - kTail))
        << "the end comes out as it was";
}

TEST_F(OggReader, AFileThatEndsEarlyReadsAsFarAsItGoes)
{
    const std::vector<float> whole = readAll(*oggReaderOf(path_));
    const std::string bytes = readWholeFile(path_);
    const auto reader = oggReaderOfBytes("/a.ogg", bytes.substr(0, bytes.size() / 2));
    const LogCapture log;
    const std::vector<float> samples = readAll(*reader);
    EXPECT_GT(samples.size(), whole.size() / 4);
    EXPECT_LT(samples.size(), whole.size() * 3 / 4);
    EXPECT_EQ(firstDifference(samples, slice(whole, 1, 0, samples.size())), -1);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(OggReader, ACloneOfAFileThatIsGoneIsUnsupported)
{
    const auto reader = oggReaderOf(path_);
    std::filesystem::remove(path_);
    EXPECT_THROW((void)reader->clone(), FileUnsupported);
}

TEST_F(OggReader, AfterAFailureTheFileReadsAgain)
{
    const std::vector<float> whole = readAll(*oggReaderOf(path_));
    const auto file = ebo::makeRef<FaultyFile>("/a.ogg", readWholeFile(path_));
    const auto reader = ebo::makeRef<oggFileReader>(file);
    const LogCapture quiet;
    file->failAt = 0;
    EXPECT_THAT(read(*reader, 60000, 10), IsEmpty()) << "it cannot read";
    file->failAt = FaultyFile::kNever;
    EXPECT_EQ(read(*reader, 60000, 10), slice(whole, 2, 60000, 10));
    EXPECT_EQ(firstDifference(read(*reader, 0, kFrames), whole), -1);
}

}  // namespace
