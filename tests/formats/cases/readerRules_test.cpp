// What readers promise beside the sound.

#include "formats/FaultyFile.h"
#include "formats/cases/PlayedFiles.h"
#include "formats/flac/flacBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace {

using testsupport::FaultyFile;
using testsupport::firstDifference;
using testsupport::MemoryFile;
using testsupport::plainDecode;
using testsupport::readAll;
using testsupport::readerOf;
using testsupport::readWholeFile;

using FileUnsupported = eboFormatReader::FileUnsupported;

/// Counts what its clones read, and can become another file.
class SharedCount : public MemoryFile {
public:
    SharedCount(const std::string& path, const std::string& bytes, std::int64_t& count)
        : MemoryFile(path, bytes), path_(path), all_(bytes), count_(count)
    {}
    [[nodiscard]] ebo::refptr<eboFile> clone() override
    {
        return ebo::makeRef<SharedCount>(path_, all_, count_);
    }
    std::int64_t read(void* buffer, std::int64_t size) override
    {
        const std::int64_t count = MemoryFile::read(buffer, size);
        count_ += count;
        return count;
    }

private:
    const std::string path_;
    const std::string all_;
    std::int64_t& count_;
};

class ReaderRules : public testsupport::PlayedFiles {
protected:
    /// A film with two streams of sound, of which one is of a codec that does not exist.
    void makeTwoStreams(const std::string& name, int broken)
    {
        encoded("one.wav", {}, 1.0, 1, 22050);
        encoded("two.wav", {}, 1.5, 2, 48000);
        testsupport::runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=1:s=64x48", "-i", path("one.wav"), "-i",
                                path("two.wav"), "-map", "0", "-map", "1", "-map", "2", "-c:v", "mpeg4",
                                "-c:a", "alac", path(name)});
        std::string bytes = readWholeFile(path(name));
        // Each description of a stream names its codec twice: as its own name, and as that of its settings.
        std::size_t at = bytes.find("alac", bytes.find("stsd"));
        if (broken == 1)
            at = bytes.find("alac", bytes.find("stsd", at));
        bytes.replace(at, 4, "zzzz");
        write(name, bytes);
    }
};

TEST_F(ReaderRules, WhenTheFirstStreamCannotBeDecodedTheSecondPlays)
{
    makeTwoStreams("a.mp4", 0);
    const auto reader = open("a.mp4");
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->audioStreamCount(), 2U);
    EXPECT_EQ(reader->sampleRate(), 48000U);
    EXPECT_EQ(firstDifference(readAll(*reader), plainDecode(path("two.wav"))), -1);
}

TEST_F(ReaderRules, AfterAChoiceThatFailsTheStreamBeforePlaysFromItsStart)
{
    makeTwoStreams("a.mp4", 1);
    const auto reader = open("a.mp4");
    ASSERT_TRUE(reader);
    const std::vector<float> expected = plainDecode(path("one.wav"));
    testsupport::read(*reader, 0, 100);
    reader->selectAudioStream(1);
    EXPECT_EQ(reader->sampleRate(), 22050U);
    EXPECT_EQ(reader->length(), 22050U);
    EXPECT_EQ(firstDifference(readAll(*reader), expected), -1);
}

TEST_F(ReaderRules, AfterAHundredPacketsWithoutSoundItIsNone)
{
    // An ADTS stream whose packets have good heads, and nothing in them.
    const std::string sound = encoded("a.aac", {}, 2);
    const std::string broken = std::string("\xFF\xF1\x50\x80\x04\x1F\xFC", 7) + std::string(25, '\xFF');
    const auto with = [&](int count) {
        std::string bytes;
        for (int i = 0; i < count; ++i)
            bytes += broken;
        return bytes + sound;
    };
    EXPECT_NO_THROW(testsupport::readerOfBytes("/a.aac", with(90)));
    EXPECT_THROW(testsupport::readerOfBytes("/a.aac", with(110)), FileUnsupported);
}

TEST_F(ReaderRules, TheLibrariesAreSilent)
{
    std::string bytes = encoded("a.mp3");
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 3000, '\x55');
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    readAll(*testsupport::readerOfBytes("/a.mp3", bytes));
    av_log(nullptr, AV_LOG_ERROR, "a complaint\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ReaderRules, ACloneTakesOverTheLengthThatWasCounted)
{
    const std::string mp3 = encoded("a.mp3", {"-write_xing", "0", "-id3v2_version", "0"}, 30);
    testsupport::encodeFlac(path("a.flac"), testsupport::testPcm(300000, 44100, 2, 16));
    const std::string flac = readWholeFile(path("a.flac"));
    const auto expectCheaper = [](auto makeReader, const std::string& name, const std::string& bytes) {
        std::int64_t read = 0;
        const auto reader = makeReader(ebo::makeRef<SharedCount>(name, bytes, read));
        const std::int64_t toOpen = std::exchange(read, 0);
        const auto clone = ebo::dynamicCast<eboAudioFormatReader>(reader->clone());
        EXPECT_EQ(clone->trackLength(), reader->trackLength());
        EXPECT_LT(read, toOpen * 3 / 4) << name;
    };
    testsupport::readerOf(path("a.mp3"));  // makes the libraries ready
    expectCheaper([](const auto& file) { return ebo::makeRef<ffmpegFileReader>(file); }, "/a.mp3", mp3);
    expectCheaper([](const auto& file) { return ebo::makeRef<flacFileReader>(file); }, "/a.flac", flac);
}

TEST_F(ReaderRules, AFileThatHasBecomeAnotherIsNotReadOn)
{
    encoded("a.aac", {}, 2, 2);
    const auto reader = open("a.aac");
    testsupport::read(*reader, 0, 5000);
    write("a.aac", encoded("b.aac", {}, 2, 1));
    // ADTS has no seeks: going back means starting over.
    EXPECT_TRUE(testsupport::read(*reader, 10, 100).empty());
    EXPECT_TRUE(reader->hasLostData());
}

TEST_F(ReaderRules, NoOtherFileIsOpened)
{
    // A film whose sound lies in another file, by its name.
    encoded("sound.wav", {}, 1);
    write("list.mp3", "ffconcat version 1.0\nfile 'sound.wav'\n");
    const testsupport::LogCapture quiet;
    EXPECT_FALSE(
        ebo::makeRef<eboFileFormats>(nullptr)->createReader(QString::fromStdString(path("list.mp3"))));
}

TEST_F(ReaderRules, StreamsThatAreNoSoundAreIgnored)
{
    encoded("one.wav", {}, 1.0);
    testsupport::runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=1:s=64x48", "-i", path("one.wav"), "-map", "0",
                            "-map", "1", "-c:v", "mpeg4", "-c:a", "alac", path("a.mp4")});
    const auto reader = open("a.mp4");
    EXPECT_EQ(reader->audioStreamCount(), 1U);
    reader->selectAudioStream(0);
    EXPECT_EQ(firstDifference(readAll(*reader), plainDecode(path("one.wav"))), -1);
}

TEST_F(ReaderRules, OfABrokenPlaceInFlacSixteenErrorsAreLogged)
{
    testsupport::encodeFlac(path("a.flac"), testsupport::testPcm(60000, 44100, 2, 16), {"--blocksize=1000"});
    std::string bytes = readWholeFile(path("a.flac"));
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path("a.flac"));
    // Forty blocks in a row whose heads are spoilt: each is an error of its own.
    for (std::size_t i = 10; i < 50; ++i)
        bytes[blocks[i] + 2] = static_cast<char>(bytes[blocks[i] + 2] ^ '\x01');
    write("a.flac", bytes);
    const auto reader = open("a.flac");
    const testsupport::LogCapture log;
    EXPECT_EQ(readAll(*reader).size(), 2U * 60000);
    int errors = 0;
    for (const std::string& text : log.texts())
        errors += text.find("Error during FLAC decoding:") != std::string::npos ? 1 : 0;
    EXPECT_EQ(errors, 16);
}

}  // namespace
