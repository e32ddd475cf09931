#include "formats/FaultyFile.h"
#include "formats/eboFileFormats.h"
#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>

// Files that are not what they promise: a clear refusal or a short count, never more.

namespace {

using testsupport::FaultyFile;
using testsupport::firstDifference;
using testsupport::makeAudioFile;
using testsupport::plainDecode;
using testsupport::read;
using testsupport::readAll;
using testsupport::readerOf;
using testsupport::readerOfBytes;
using testsupport::readWholeFile;
using testsupport::TempDir;
using testsupport::writeWholeFile;

using FileUnsupported = eboFormatReader::FileUnsupported;

/// Opens, reads a little here and there, and closes; whatever comes of it. False if the file was refused.
bool survives(const std::string& name, const std::string& bytes)
{
    try {
        const auto reader = readerOfBytes(name, bytes);
        std::vector<float> mono(testsupport::kBlockFrames);
        for (std::uint32_t frame = 0; frame < 4 * testsupport::kBlockFrames;
             frame += testsupport::kBlockFrames) {
            if (reader->readMono(mono.data(), frame, testsupport::kBlockFrames) == 0)
                break;
        }
        for (const std::uint32_t frame : {100000U, 3U, 50000U, 4294967295U, 0U})
            reader->readMono(mono.data(), frame, 100);
        return true;
    } catch (const FileUnsupported&) {
        return false;
    }
}

class BadInput : public testing::Test {
protected:
    std::string bytesOf(const std::string& name, const std::vector<std::string>& options = {},
                        int channels = 2, double seconds = 1.0, int sampleRate = 44100)
    {
        makeAudioFile(dir_.file(name), seconds, sampleRate, channels, options);
        return readWholeFile(dir_.file(name));
    }

    /// Whether the registry gives a reader for the path.
    static bool isRead(const std::string& path)
    {
        const testsupport::LogCapture quiet;
        return static_cast<bool>(
            ebo::makeRef<eboFileFormats>(nullptr)->createReader(QString::fromStdString(path)));
    }

    TempDir dir_;
};

TEST_F(BadInput, NothingAtAllIsRefused)
{
    EXPECT_THROW(readerOfBytes("/a.mp3", ""), FileUnsupported);
    EXPECT_THROW(readerOfBytes("/a.wav", std::string(100000, '\0')), FileUnsupported);
}

TEST_F(BadInput, TextIsRefused)
{
    std::string text;
    for (int line = 0; line < 2000; ++line)
        text += "All work and no play makes Jack a dull boy.\n";
    EXPECT_THROW(readerOfBytes("/a.mp3", text), FileUnsupported);
}

TEST_F(BadInput, APlaylistIsNotFollowed)
{
    bytesOf("a.wav");
    const std::string target = dir_.file("a.wav");
    for (const std::string& playlist :
         {"#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + target + "\n#EXT-X-ENDLIST\n",
          "ffconcat version 1.0\nfile " + target + "\n"}) {
        writeWholeFile(dir_.file("list.mp3"), playlist);
        EXPECT_THROW(readerOf(dir_.file("list.mp3")), FileUnsupported) << playlist;
    }
}

TEST_F(BadInput, EveryPrefixOfAHeaderIsRefusedOrShort)
{
    for (const char* name : {"a.wav", "a.aiff", "a.mp3", "a.m4a", "a.aac"}) {
        const std::string bytes = bytesOf(name, {}, 1, 0.1);
        for (std::size_t size = 0; size < std::min<std::size_t>(bytes.size(), 300); size += 3)
            survives(name, bytes.substr(0, size));
    }
    EXPECT_THROW(readerOfBytes("/a.wav", bytesOf("a.wav").substr(0, 30)), FileUnsupported);
}

TEST_F(BadInput, ATruncatedFileReadsAsFarAsItGoes)
{
    const std::string wav = bytesOf("a.wav", {"-bitexact"});
    const std::vector<float> whole = plainDecode(dir_.file("a.wav"));
    const auto reader = readerOfBytes("/a.wav", wav.substr(0, 44 + 4 * 10000));
    const std::vector<float> samples = readAll(*reader);
    EXPECT_EQ(firstDifference(samples, {whole.begin(), whole.begin() + 20000}), -1);
}

TEST_F(BadInput, AnMp3WithGarbageInTheMiddleReadsOnBehindIt)
{
    std::string bytes = bytesOf("a.mp3", {"-b:a", "128k"}, 2, 10.0);
    const std::vector<float> whole = plainDecode(dir_.file("a.mp3"));
    std::mt19937 random(3);
    for (std::size_t i = bytes.size() / 2; i < bytes.size() / 2 + 3000; ++i)
        bytes[i] = static_cast<char>(random());
    const std::vector<float> samples = readAll(*readerOfBytes("/a.mp3", bytes));
    EXPECT_GT(samples.size(), whole.size() * 9 / 10);
    const auto quarter = static_cast<std::ptrdiff_t>(whole.size() / 4);
    EXPECT_EQ(firstDifference({samples.begin(), samples.begin() + quarter},
                              {whole.begin(), whole.begin() + quarter}),
              -1);
    const auto later = whole.begin() + 3 * quarter;
    EXPECT_NE(std::search(samples.begin(), samples.end(), later, later + 20000), samples.end())
        << "what lies behind the garbage comes out as it was";
}

TEST_F(BadInput, AFileThatShrinksWhileItIsReadEndsEarly)
{
    bytesOf("a.wav", {}, 2, 5.0);
    const auto reader = readerOf(dir_.file("a.wav"));
    EXPECT_EQ(read(*reader, 0, 1000).size(), 2000U);
    std::filesystem::resize_file(dir_.file("a.wav"), 200000);
    const std::vector<float> rest = read(*reader, 1000, 220500);
    EXPECT_LT(rest.size(), 120000U) << "what had been read ahead may still come";
    EXPECT_EQ(read(*reader, 200000, 100).size(), 0U);
    EXPECT_EQ(read(*reader, 0, 1000).size(), 2000U);
    std::filesystem::resize_file(dir_.file("a.wav"), 0);
    EXPECT_EQ(read(*reader, 100000, 100).size(), 0U) << "now even the start cannot be found any more";
    EXPECT_EQ(read(*reader, 0, 100).size(), 0U);
}

TEST_F(BadInput, WhatIsNoFileIsRefusedWithoutWaiting)
{
    ASSERT_EQ(::mkfifo(dir_.file("fifo.mp3").c_str(), 0600), 0);
    std::filesystem::create_directory(dir_.file("folder.mp3"));
    std::filesystem::create_symlink("/dev/zero", dir_.file("device.wav"));
    EXPECT_FALSE(isRead(dir_.file("fifo.mp3")));
    EXPECT_FALSE(isRead(dir_.file("folder.mp3")));
    EXPECT_FALSE(isRead(dir_.file("device.wav")));
    EXPECT_FALSE(isRead("/" + std::string(4000, 'x') + ".mp3"));
    EXPECT_FALSE(isRead("/\xff\xfe.mp3"));
}

TEST_F(BadInput, ANameInUtf8IsRead)
{
    const std::string name = "M\xc3\xbcsic \xe2\x99\xab.wav";
    bytesOf("a.wav");
    std::filesystem::copy_file(dir_.file("a.wav"), dir_.file(name));
    EXPECT_TRUE(isRead(dir_.file(name)));
}

TEST_F(BadInput, AFileThatDeliversAFewBytesAtATimeReadsTheSame)
{
    for (const char* name : {"a.wav", "a.mp3", "a.m4a"}) {
        const auto file = ebo::makeRef<FaultyFile>(name, bytesOf(name, {"-bitexact"}));
        file->shortReads = true;
        const auto reader = ebo::makeRef<ffmpegFileReader>(file);
        EXPECT_EQ(firstDifference(readAll(*reader), plainDecode(dir_.file(name))), -1) << name;
    }
}

TEST_F(BadInput, AFileThatFailsInTheMiddleEndsThere)
{
    for (const char* name : {"a.wav", "a.mp3"}) {
        const std::string bytes = bytesOf(name, {}, 2, 4.0);
        for (const std::int64_t failure : {-1, 0, -1000000}) {
            const auto file = ebo::makeRef<FaultyFile>(name, bytes);
            const auto reader = ebo::makeRef<ffmpegFileReader>(file);
            file->failAt = static_cast<std::int64_t>(bytes.size() / 2);
            file->failWith = failure;
            const std::size_t frames = readAll(*reader).size() / 2;
            EXPECT_GT(frames, 40000U) << name << " fails with " << failure;
            EXPECT_LT(frames, 120000U) << name << " fails with " << failure;
        }
    }
}

TEST_F(BadInput, AFileThatFailsFromTheBeginningIsRefused)
{
    const std::string bytes = bytesOf("a.mp3");
    for (const std::int64_t failAt : {0, 1, 100}) {
        const auto file = ebo::makeRef<FaultyFile>("/a.mp3", bytes);
        file->failAt = failAt;
        EXPECT_THROW((void)ebo::makeRef<ffmpegFileReader>(file), FileUnsupported) << "at byte " << failAt;
    }
}

TEST_F(BadInput, AFileThatCannotSeekGivesNothingElsewhere)
{
    const auto file = ebo::makeRef<FaultyFile>("/a.wav", bytesOf("a.wav"));
    const auto reader = ebo::makeRef<ffmpegFileReader>(file);
    EXPECT_EQ(read(*reader, 0, 100).size(), 200U);
    file->seeksFail = true;
    EXPECT_EQ(read(*reader, 30000, 100).size(), 0U);
}

TEST_F(BadInput, FramesOfAnotherShapeAreBroughtToThatOfTheFirst)
{
    const std::string stereo = bytesOf("a.mp3", {"-b:a", "128k", "-write_xing", "0"}, 2, 2.0);
    const std::string mono = bytesOf("b.mp3", {"-b:a", "64k", "-write_xing", "0"}, 1, 2.0);
    const std::string slow = bytesOf("c.mp3", {"-b:a", "64k", "-write_xing", "0"}, 2, 2.0, 22050);
    for (const std::string& other : {mono, slow}) {
        const auto reader = readerOfBytes("/ab.mp3", std::string(stereo).append(other).append(stereo));
        EXPECT_EQ(reader->channelCount(), 2U);
        EXPECT_EQ(reader->sampleRate(), 44100U);
        const std::size_t frames = readAll(*reader).size() / 2;
        EXPECT_NEAR(static_cast<double>(frames), 6 * 44100.0, 6 * 1152.0);
        EXPECT_EQ(reader->length(), frames);
    }
}

TEST_F(BadInput, AbsurdDurationsAndTimeScalesAreSurvived)
{
    const std::string m4a = bytesOf("a.m4a");
    const std::size_t mediaHeader = m4a.find("mdhd");
    ASSERT_NE(mediaHeader, std::string::npos);
    for (const std::size_t field : {16U, 20U}) {  // time scale, duration
        for (const std::string& value :
             {std::string(4, '\0'), std::string(4, '\xff'), std::string("\0\0\0\1", 4)}) {
            std::string patched = m4a;
            patched.replace(mediaHeader + field, 4, value);
            survives("/a.m4a", patched);
        }
    }
    const std::string wav = bytesOf("a.wav", {"-bitexact"});
    for (std::size_t field = 20; field < 36; field += 2) {
        for (const std::string& value : {std::string(2, '\0'), std::string(2, '\xff')}) {
            std::string patched = wav;
            patched.replace(field, 2, value);
            survives("/a.wav", patched);
        }
    }
}

TEST_F(BadInput, DamagedBytesAreSurvived)
{
    std::mt19937 random(11);
    for (const char* name : {"a.wav", "a.aiff", "a.mp3", "a.m4a", "a.aac"}) {
        const std::string bytes = bytesOf(name, {}, 2, 0.2);
        for (int round = testsupport::repetitions(60); round > 0; --round) {
            std::string damaged = bytes;
            for (int i = 0; i < 10; ++i) {
                // Half of the damage goes to the first kilobyte, where headers are.
                const std::size_t range =
                    i % 2 == 0 ? std::min<std::size_t>(1024, bytes.size()) : bytes.size();
                damaged[random() % range] = static_cast<char>(random());
            }
            survives(name, damaged);
        }
    }
}

}  // namespace
