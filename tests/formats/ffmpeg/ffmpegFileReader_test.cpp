#include "formats/ffmpeg/ffmpegFileReader.h"

#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testsupport::firstDifference;
using testsupport::makeAudioFile;
using testsupport::MemoryFile;
using testsupport::plainDecode;
using testsupport::read;
using testsupport::readAll;
using testsupport::readerOf;
using testsupport::readerOfBytes;
using testsupport::readWholeFile;
using testsupport::runFfmpeg;
using testsupport::TempDir;

using FileUnsupported = eboFormatReader::FileUnsupported;

std::uint32_t bigEndian32(const std::string& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8U | static_cast<std::uint8_t>(bytes.at(at + i));
    return value;
}

/// By how many frames `later` lags `earlier` at the best correlation within the range; both mono.
int lag(const std::vector<float>& earlier, const std::vector<float>& later, int range)
{
    const auto correlation = [&](int shift) {
        double sum = 0.0;
        const auto margin = static_cast<std::size_t>(range);
        for (std::size_t i = margin; i + margin < earlier.size(); ++i) {
            const auto shifted = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(i) + shift);
            if (shifted < later.size())
                sum += static_cast<double>(earlier[i]) * static_cast<double>(later[shifted]);
        }
        return sum;
    };
    int best = -range;
    for (int shift = -range; shift <= range; ++shift) {
        if (correlation(shift) > correlation(best))
            best = shift;
    }
    return best;
}

class FfmpegReader : public testing::Test {
protected:
    /// The path of a new file of the test sound.
    std::string sound(const std::string& name, const std::vector<std::string>& options = {}, int channels = 2,
                      double seconds = 1.0, int sampleRate = 44100)
    {
        makeAudioFile(dir_.file(name), seconds, sampleRate, channels, options);
        return dir_.file(name);
    }

    TempDir dir_;
};

TEST_F(FfmpegReader, RefusesWindowsMediaByName)
{
    const std::string wav = readWholeFile(sound("a.wav"));
    try {
        readerOfBytes("/a.wma", wav);
        FAIL() << "it was opened";
    } catch (const FileUnsupported& refusal) {
        EXPECT_STREQ(refusal.what(), "FFMPEG");
    }
    EXPECT_NO_THROW(readerOfBytes("/a.WMA", wav)) << "only these four bytes count";
}

TEST_F(FfmpegReader, ANameWithoutRoomForAnExtensionIsOutOfRange)
{
    EXPECT_THROW(readerOfBytes("wav", readWholeFile(sound("a.wav"))), std::out_of_range);
}

TEST_F(FfmpegReader, WithoutAFileItIsUnsupported)
{
    EXPECT_THROW((void)ebo::makeRef<ffmpegFileReader>(nullptr), FileUnsupported);
    EXPECT_THROW(readerOf(dir_.file("missing.mp3")), FileUnsupported);
}

TEST_F(FfmpegReader, ARequestInTheMiddleOfAFrameDeliversNothing)
{
    const auto reader = readerOf(sound("a.wav"));
    std::vector<float> samples(100);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 1, 100), 0U);
    EXPECT_EQ(reader->readInterleaved(samples.data(), 2, 99), 98U) << "whole frames only";
}

TEST_F(FfmpegReader, MoreThanEightChannelsAreUnusable)
{
    testsupport::writeFloatWav(dir_.file("a.wav"), std::vector<float>(900, 0.5f), 44100, 9);
    EXPECT_THROW(readerOf(dir_.file("a.wav")), FileUnsupported);
    testsupport::writeFloatWav(dir_.file("b.wav"), std::vector<float>(800, 0.5f), 44100, 8);
    EXPECT_EQ(readerOf(dir_.file("b.wav"))->channelCount(), 8U);
}

TEST_F(FfmpegReader, AStereoFileReadsAsTheMeanOfItsChannels)
{
    std::vector<float> samples;
    for (int frame = 0; frame < 1000; ++frame)
        samples.insert(samples.end(), {0.5f, 0.0f});
    testsupport::writeFloatWav(dir_.file("a.wav"), samples, 44100, 2);
    std::vector<float> mono(1000);
    ASSERT_EQ(readerOf(dir_.file("a.wav"))->readMono(mono.data(), 0, 1000), 1000U);
    EXPECT_EQ(mono, std::vector<float>(1000, 0.25f));
}

TEST_F(FfmpegReader, MoreThanTwoChannelsAreMixedToStereoOnRequest)
{
    // Left, right, centre, bass, back left, back right; sound on the left and in the centre.
    std::vector<float> samples;
    for (int frame = 0; frame < 5000; ++frame)
        samples.insert(samples.end(), {0.5f, 0.0f, 0.25f, 0.0f, 0.0f, 0.0f});
    testsupport::writeFloatWav(dir_.file("a.wav"), samples, 44100, 6);
    const auto reader = readerOf(dir_.file("a.wav"));
    std::vector<float> left(5000);
    std::vector<float> right(5000);
    std::array targets{left.data(), right.data()};
    ASSERT_EQ(reader->readStereoPlanar(targets.data(), 0, 5000), 5000U);
    // The centre goes to both sides with 3 dB less.
    EXPECT_NEAR(left[2500], 0.5 + 0.25 * std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(right[2500], 0.25 * std::sqrt(0.5), 1e-6);

    // Interleaved reads go on behind it as behind any other read.
    std::vector<float> next(6);
    EXPECT_EQ(reader->readInterleaved(next.data(), 6U * 100, 6), 6U);
    EXPECT_EQ(next, (std::vector<float>{0.5f, 0.0f, 0.25f, 0.0f, 0.0f, 0.0f}));
}

TEST_F(FfmpegReader, BrokenFloatsComeOutAsTheyAreButNotInMono)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> samples = {0.5f,   infinity, -infinity, nan,    1e38f,
                                        -1e38f, 1e-45f,   -0.0f,     1e-38f, 2.0f};
    testsupport::writeFloatWav(dir_.file("a.wav"), samples, 44100, 1);
    const auto reader = readerOf(dir_.file("a.wav"));
    EXPECT_EQ(firstDifference(readAll(*reader), samples), -1);
    std::vector<float> mono(samples.size());
    ASSERT_EQ(reader->readMono(mono.data(), 0, 10), 10U);
    EXPECT_EQ(mono, (std::vector<float>{0.5f, 0.0f, 0.0f, 0.0f, 1e38f, -1e38f, 1e-45f, -0.0f, 1e-38f, 2.0f}));
}

/// The path of a wav of 8-bit mono at 8000 Hz with that many frames, which takes no room on the disk.
std::string hugeWav(const TempDir& dir, std::uint32_t frames)
{
    makeAudioFile(dir.file("huge.wav"), 0.1, 8000, 1, {"-c:a", "pcm_u8", "-bitexact"});
    std::string wav = readWholeFile(dir.file("huge.wav"));
    const std::size_t data = wav.find("data");
    for (std::size_t i = 0; i < 4; ++i)
        wav[data + 4 + i] = static_cast<char>(frames >> (8 * i) & 0xffU);
    testsupport::writeWholeFile(dir.file("huge.wav"), wav.substr(0, data + 8));
    std::filesystem::resize_file(dir.file("huge.wav"), data + 8 + frames);
    return dir.file("huge.wav");
}

TEST_F(FfmpegReader, TheLengthIsComputedInSinglePrecision)
{
    constexpr std::uint32_t kFrames = 259200001;  // 9 hours; floats are 16 apart there
    EXPECT_EQ(readerOf(hugeWav(dir_, kFrames))->length(), 259200000U);
}

TEST_F(FfmpegReader, ALengthOfMoreThan32BitsIsTheGreatestOne)
{
    // The nearest float is 2^32.
    EXPECT_EQ(readerOf(hugeWav(dir_, 4294967290U))->length(), 4294967295U);
}

TEST_F(FfmpegReader, TheFarEndOfALongTrackIsReached)
{
    const auto reader = readerOf(hugeWav(dir_, 4294967200U));
    EXPECT_EQ(read(*reader, 4294967190U, 100), std::vector<float>(10, -1.0f)) << "zero bytes are full scale";
}

TEST_F(FfmpegReader, AnMp3WithAGaplessHeaderStartsBehindTheEncodersDelay)
{
    const std::string path = sound("a.mp3", {"-b:a", "128k"});
    const std::string bytes = readWholeFile(path);
    const std::size_t tag = bytes.find("Info");
    ASSERT_NE(tag, std::string::npos);
    const std::uint32_t mp3Frames = bigEndian32(bytes, tag + 8);
    const auto reader = readerOf(path);
    constexpr std::uint32_t kDelay = 576 + 529;  // the encoder's and the decoder's
    EXPECT_NEAR(reader->length(), mp3Frames * 1152.0 - kDelay, 1.0);
    EXPECT_EQ(reader->encoderDelay(), -2 * static_cast<int>(kDelay));
}

TEST_F(FfmpegReader, AnMp3WithoutOneStartsWithItsFirstFrame)
{
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-b:a", "128k"}, {"-q:a", "5"}}) {
        auto all = options;
        all.insert(all.end(), {"-write_xing", "0"});
        const std::string path = sound("a.mp3", all, 2, 20.0);
        const auto reader = readerOf(path);
        EXPECT_EQ(reader->length(), plainDecode(path).size() / 2) << "the length is counted";
        EXPECT_EQ(reader->encoderDelay(), 0);
    }
}

TEST_F(FfmpegReader, TheLengthOfAnAdtsStreamIsCounted)
{
    const std::string path = sound("a.aac", {"-c:a", "aac", "-q:a", "0.4"}, 2, 20.0);
    EXPECT_EQ(readerOf(path)->length(), plainDecode(path).size() / 2);
}

TEST_F(FfmpegReader, TheLengthOfAWavWithoutOneIsCounted)
{
    std::string wav = readWholeFile(sound("a.wav", {"-bitexact"}, 2, 2.0));
    const std::size_t data = wav.find("data");
    wav.replace(data + 4, 4, "\xff\xff\xff\xff");
    EXPECT_EQ(readerOfBytes("/a.wav", wav)->length(), 88200U);
}

TEST_F(FfmpegReader, OfAacTheCustomaryDelayIsToldIfItStartsAtZero)
{
    const std::vector<std::string> aac = {"-c:a", "aac"};
    EXPECT_EQ(readerOf(sound("a.m4a", aac))->encoderDelay(), 2112);
    EXPECT_EQ(readerOf(sound("a.aac", aac))->encoderDelay(), 2112);
    EXPECT_EQ(readerOf(sound("a.wav"))->encoderDelay(), 0);
    runFfmpeg({"-itsoffset", "1", "-i", dir_.file("a.wav"), "-c:a", "aac", dir_.file("late.mp4")});
    EXPECT_EQ(readerOf(dir_.file("late.mp4"))->encoderDelay(), 0) << "its first frame is stamped 1 s";
}

TEST_F(FfmpegReader, AStreamThatStartsLaterReadsFromItsFirstFrame)
{
    sound("a.wav");
    runFfmpeg(
        {"-itsoffset", "1", "-i", dir_.file("a.wav"), "-c:a", "aac", "-aac_pns", "0", dir_.file("b.mp4")});
    const auto reader = readerOf(dir_.file("b.mp4"));
    const std::vector<float> decoded = plainDecode(dir_.file("b.mp4"));
    EXPECT_EQ(firstDifference(readAll(*reader), decoded), -1);
    EXPECT_EQ(firstDifference(read(*reader, 30000, 100), {decoded.begin() + 60000, decoded.begin() + 60200}),
              -1);
}

TEST_F(FfmpegReader, LossyFormatsThatStateTheirDelayDoNotLagTheirSource)
{
    const std::string wav = sound("a.wav", {"-c:a", "pcm_f32le"}, 1, 2.0);
    const std::vector<float> original = plainDecode(wav);
    for (const char* name : {"a.mp3", "a.m4a"}) {
        runFfmpeg({"-i", wav, "-b:a", "128k", dir_.file(name)});
        const int lagFrames = lag(original, readAll(*readerOf(dir_.file(name))), 1500);
        EXPECT_LT(std::abs(lagFrames), 44) << name << " lags by that many frames of 1/44100 s";
    }
}

TEST_F(FfmpegReader, DecodesTheSoundOfAFilm)
{
    const std::string path = dir_.file("film.mp4");
    runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=3:s=320x240", "-i", sound("a.wav", {}, 2, 3.0), "-c:v",
               "mpeg4", "-c:a", "aac", "-aac_pns", "0", path});
    const auto reader = readerOf(path);
    EXPECT_EQ(reader->audioStreamCount(), 1U);
    EXPECT_EQ(firstDifference(readAll(*reader), plainDecode(path)), -1);
}

TEST_F(FfmpegReader, AacThatFillsInNoiseReadsInSequenceLikeAPlainDecode)
{
    const std::string path = sound("a.m4a", {"-c:a", "aac", "-b:a", "64k"}, 2, 4.0);
    EXPECT_EQ(firstDifference(readAll(*readerOf(path)), plainDecode(path)), -1);
}

TEST_F(FfmpegReader, DecodesAnMp3WithACoverPicture)
{
    const std::string path = dir_.file("cover.mp3");
    runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=1:r=1:s=640x480", "-i", sound("a.wav"), "-map", "1", "-map",
               "0", "-c:v", "png", "-disposition:v", "attached_pic", path});
    EXPECT_EQ(firstDifference(readAll(*readerOf(path)), plainDecode(path)), -1);
}

TEST_F(FfmpegReader, AFilmWithoutSoundIsUnsupported)
{
    runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=1:s=64x48", "-c:v", "mpeg4", dir_.file("mute.mp4")});
    EXPECT_THROW(readerOf(dir_.file("mute.mp4")), FileUnsupported);
}

class FfmpegReaderOfTwoStreams : public FfmpegReader {
protected:
    FfmpegReaderOfTwoStreams()
    {
        runFfmpeg({"-f", "lavfi", "-i", "testsrc=d=1:s=64x48", "-i", sound("a.wav", {}, 1, 1.0, 22050), "-i",
                   sound("b.wav", {}, 2, 1.5, 48000), "-map", "0", "-map", "1", "-map", "2", "-c:v", "mpeg4",
                   "-c:a", "alac", path_});
        makeDecoded(first_, "0:a:0");
        makeDecoded(second_, "0:a:1");
    }

    void makeDecoded(std::vector<float>& samples, const std::string& map)
    {
        runFfmpeg({"-i", path_, "-map", map, "-c:a", "pcm_f32le", dir_.file("decoded.wav")});
        samples = plainDecode(dir_.file("decoded.wav"));
    }

    ebo::refptr<ffmpegFileReader> readerOfStream(int index)
    {
        return ebo::makeRef<ffmpegFileReader>(testsupport::localFile(path_), DecodingOptions{},
                                              std::optional<TrackLength>(), index);
    }

    const std::string path_ = dir_.file("two.mp4");
    std::vector<float> first_;
    std::vector<float> second_;
};

TEST_F(FfmpegReaderOfTwoStreams, ReadsTheFirstUnlessToldOtherwise)
{
    const auto reader = readerOf(path_);
    EXPECT_EQ(reader->audioStreamCount(), 2U);
    EXPECT_EQ(firstDifference(readAll(*reader), first_), -1);
}

TEST_F(FfmpegReaderOfTwoStreams, ReadsTheOneAtTheWantedIndex)
{
    EXPECT_EQ(firstDifference(readAll(*readerOfStream(1)), first_), -1);
    EXPECT_EQ(firstDifference(readAll(*readerOfStream(2)), second_), -1);
}

TEST_F(FfmpegReaderOfTwoStreams, AnIndexWithoutSoundGivesTheLastThatCanBeRead)
{
    EXPECT_EQ(firstDifference(readAll(*readerOfStream(0)), second_), -1) << "that is the film";
    EXPECT_EQ(firstDifference(readAll(*readerOfStream(99)), second_), -1);
}

TEST_F(FfmpegReaderOfTwoStreams, SwitchesBetweenThem)
{
    const auto reader = readerOf(path_);
    read(*reader, 0, 100);
    reader->selectAudioStream(1);
    EXPECT_EQ(reader->sampleRate(), 48000U);
    EXPECT_EQ(reader->channelCount(), 2U);
    EXPECT_EQ(reader->length(), 72000U);
    EXPECT_EQ(firstDifference(readAll(*reader), second_), -1);
    reader->selectAudioStream(2);
    EXPECT_EQ(reader->sampleRate(), 48000U) << "there is no third one";
    reader->selectAudioStream(0);
    EXPECT_EQ(firstDifference(readAll(*reader), first_), -1);
}

TEST_F(FfmpegReaderOfTwoStreams, ACloneReadsTheStreamThatWasChosen)
{
    const auto reader = readerOf(path_);
    reader->selectAudioStream(1);
    const auto clone = ebo::dynamicCast<ffmpegFileReader>(reader->clone());
    EXPECT_EQ(clone->length(), 72000U);
    EXPECT_EQ(firstDifference(readAll(*clone), second_), -1);
}

TEST_F(FfmpegReader, HoldsTheFileOpenAndLockedUntilClosed)
{
    const auto factory = ebo::makeRef<eboFileFactory>();
    const auto file = factory->open(sound("a.wav").c_str(), {});
    const testsupport::LogCapture quiet;
    const auto reader = ebo::makeRef<ffmpegFileReader>(file);
    EXPECT_TRUE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Shared);
    reader->close();
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
    EXPECT_THAT(read(*reader, 0, 10), testing::IsEmpty());
    EXPECT_EQ(reader->length(), 44100U) << "what was found out stays known";
    reader->selectAudioStream(0);
    reader->close();
    EXPECT_THAT(quiet.texts(), testing::IsEmpty());
}

TEST_F(FfmpegReader, DyingItClosesAndUnlocks)
{
    const auto file = testsupport::localFile(sound("a.wav"));
    const testsupport::LogCapture quiet;
    ebo::makeRef<ffmpegFileReader>(file).reset();
    EXPECT_FALSE(file->isReadable());
    EXPECT_EQ(file->lockLevel(), eboFileLock::Unlocked);
    EXPECT_THAT(quiet.texts(), testing::IsEmpty());
}

TEST_F(FfmpegReader, ARefusedLockIsNotTakenForAnUnsupportedFile)
{
    const auto factory = ebo::makeRef<eboFileFactory>();
    const auto file = factory->open(sound("a.wav").c_str(), {});
    const auto writer = file->clone();
    ASSERT_EQ(writer->lock(eboFileLock::Exclusive), eboFileLock::SUCCESS);
    EXPECT_THROW((void)ebo::makeRef<ffmpegFileReader>(file), eboFileLocker::LockFailException);
    EXPECT_FALSE(file->isReadable()) << "the file is closed again";
}

TEST_F(FfmpegReader, ACloneHasAPositionOfItsOwn)
{
    const std::string path = sound("a.mp3", {"-b:a", "128k"}, 2, 2.0);
    const std::vector<float> decoded = plainDecode(path);
    const auto factory = ebo::makeRef<eboFileFactory>();
    const auto reader = ebo::makeRef<ffmpegFileReader>(factory->open(path.c_str(), {}));
    const auto clone = ebo::dynamicCast<ffmpegFileReader>(reader->clone());
    std::vector<float> first;
    std::vector<float> second;
    for (std::uint64_t frame = 0; frame < 40000; frame += 1000) {
        const auto a = read(*reader, frame, 1000);
        const auto b = read(*clone, frame, 1000);
        first.insert(first.end(), a.begin(), a.end());
        second.insert(second.end(), b.begin(), b.end());
    }
    const std::vector<float> expected(decoded.begin(), decoded.begin() + 80000);
    EXPECT_EQ(firstDifference(first, expected), -1);
    EXPECT_EQ(firstDifference(second, expected), -1);
}

/// Watches how it is read.
class WatchedFile : public MemoryFile {
public:
    using MemoryFile::MemoryFile;
    std::int64_t read(void* buffer, std::int64_t size) override
    {
        largestRead = std::max(largestRead, size);
        return MemoryFile::read(buffer, size);
    }
    bool seek(std::int64_t position) override
    {
        ++seeks;
        return MemoryFile::seek(position);
    }

    std::int64_t largestRead = 0;
    int seeks = 0;
};

TEST_F(FfmpegReader, ReadingOnNeverSeeksAndTakesAPageAtATime)
{
    for (const char* name : {"a.wav", "a.mp3"}) {
        const auto file = ebo::makeRef<WatchedFile>(name, readWholeFile(sound(name, {}, 2, 10.0)));
        const auto reader = ebo::makeRef<ffmpegFileReader>(file);
        file->seeks = 0;
        readAll(*reader);
        EXPECT_EQ(file->seeks, 0) << name;
        EXPECT_LE(file->largestRead, 4096) << name;
    }
}

TEST_F(FfmpegReader, AtHighRatesNoFrameIsLostInLongTracks)
{
    // At 48000 Hz, time in single precision is off by more than a frame from 217 s on.
    const std::string path = dir_.file("a.mp3");
    runFfmpeg({"-f", "lavfi", "-i", "sine=d=240:r=48000", "-b:a", "64k", path});
    const std::vector<float> decoded = plainDecode(path);
    const auto reader = readerOf(path);
    EXPECT_EQ(firstDifference(readAll(*reader), decoded), -1);
    const std::ptrdiff_t late = 11280000;
    EXPECT_EQ(
        firstDifference(read(*reader, late, 5000), {decoded.begin() + late, decoded.begin() + late + 5000}),
        -1);
}

}  // namespace
