// Streams whose packets change their shape: nothing of them is lost.

#include "formats/cases/PlayedFiles.h"
#include "formats/ffmpeg/packetHeaders.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace {

using testsupport::plainDecode;

class OtherShapes : public testsupport::PlayedFiles {
protected:
    /// An mp3 of nothing but packets.
    std::string bareMp3(double seconds, int channels, int rate = 44100)
    {
        return encoded("bare.mp3", {"-b:a", "128k", "-write_xing", "0", "-id3v2_version", "0"}, seconds,
                       channels, rate);
    }

    std::string adts(double seconds, int channels, int rate = 44100)
    {
        return encoded("bare.aac", {}, seconds, channels, rate);
    }

    /// The first packets of an mp3.
    static std::string packets(const std::string& bytes, int count)
    {
        std::size_t end = 0;
        for (int i = 0; i < count; ++i)
            end += static_cast<std::size_t>(
                mpegHeader(
                    std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()).subspan(end))
                    ->bytes);
        return bytes.substr(0, end);
    }

    /// Frames of the file in `name` by a plain decode.
    std::size_t framesOf(const std::string& bytes, const std::string& name, std::size_t channels)
    {
        write(name, bytes);
        return plainDecode(path(name)).size() / channels;
    }

    /// Expects that as many frames are announced as read, this many; returns the samples.
    std::vector<float> expectFrames(const std::string& name, std::size_t frames)
    {
        const auto reader = open(name);
        if (!reader)
            return {};
        std::vector<float> samples = testsupport::readAll(*reader);
        EXPECT_EQ(reader->length(), frames);
        EXPECT_EQ(samples.size(), frames * reader->channelCount());
        EXPECT_FALSE(reader->hasLostData());
        return samples;
    }

    /// Expects that both end with the same samples.
    static void expectSameEnd(const std::vector<float>& a, const std::vector<float>& b, std::size_t samples)
    {
        ASSERT_GE(a.size(), samples);
        ASSERT_GE(b.size(), samples);
        const auto tail = static_cast<std::ptrdiff_t>(samples);
        EXPECT_EQ(testsupport::firstDifference({a.end() - tail, a.end()}, {b.end() - tail, b.end()}), -1);
    }
};

TEST_F(OtherShapes, AFewMonoPacketsBeforeStereo)
{
    const std::string start = packets(bareMp3(1, 1), 4);
    const std::string stereo = bareMp3(2, 2);
    const std::vector<float> rest = testsupport::monoOf(plainDecode(path("bare.mp3")), 2);
    write("a.mp3", start + stereo);
    ASSERT_EQ(open("a.mp3")->channelCount(), 1U) << "as the probing finds";
    const std::vector<float> all = expectFrames("a.mp3", 4 * 1152 + rest.size());
    // The first packets of the rest lack what stands in packets before them.
    for (std::size_t i = 4 * 1152; i < rest.size(); ++i)
        ASSERT_NEAR(all[4 * 1152 + i], rest[i], 1e-6f) << i;
}

TEST_F(OtherShapes, MonoPacketsInTheMiddle)
{
    const std::string mono = packets(bareMp3(1, 1), 20);
    const std::string stereo = bareMp3(2, 2);
    const std::vector<float> rest = plainDecode(path("bare.mp3"));
    write("a.mp3", stereo + mono + stereo);
    EXPECT_EQ(open("a.mp3")->channelCount(), 2U);
    expectSameEnd(expectFrames("a.mp3", rest.size() + 20 * 1152), rest, rest.size() - std::size_t{4} * 1152);
}

TEST_F(OtherShapes, HalfASecondOfMonoAdts)
{
    const std::string mono = adts(0.5, 1);
    const std::size_t monoFrames = framesOf(mono, "mono.aac", 1);
    const std::string stereo = adts(2, 2);
    const std::vector<float> rest = plainDecode(path("bare.aac"));
    write("a.aac", mono + stereo);
    expectFrames("a.aac", monoFrames + rest.size() / 2);
    write("b.aac", stereo + mono + stereo);
    EXPECT_EQ(open("b.aac")->channelCount(), 2U);
    expectFrames("b.aac", monoFrames + rest.size());
}

TEST_F(OtherShapes, OneRateThenAnother)
{
    const std::string fast = adts(1, 2, 48000);
    const std::size_t fastFrames = framesOf(fast, "fast.aac", 2);
    const std::string slow = adts(2, 2, 44100);
    const std::size_t slowFrames = framesOf(slow, "slow.aac", 2);
    for (const std::string& bytes : {fast + slow, slow + fast}) {
        write("a.aac", bytes);
        const std::size_t rate = open("a.aac")->sampleRate();
        expectFrames("a.aac", fastFrames * rate / 48000 + slowFrames * rate / 44100);
    }
    const std::string fastMp3 = bareMp3(1, 2, 48000);
    const std::size_t fastMp3Frames = framesOf(fastMp3, "fast.mp3", 2);
    const std::string slowMp3 = bareMp3(2, 2, 44100);
    const std::size_t slowMp3Frames = framesOf(slowMp3, "slow.mp3", 2);
    write("a.mp3", fastMp3 + slowMp3);
    const std::size_t rate = open("a.mp3")->sampleRate();
    expectFrames("a.mp3", fastMp3Frames * rate / 48000 + slowMp3Frames * rate / 44100);
}

TEST_F(OtherShapes, AnEmptyEditDelaysAStartThatIsAllThere)
{
    encoded("a.wav");
    testsupport::runFfmpeg({"-i", path("a.wav"), "-c:a", "aac", path("plain.m4a")});
    testsupport::runFfmpeg({"-itsoffset", "1.5", "-i", path("a.wav"), "-c:a", "aac", path("late.m4a")});
    const std::vector<float> expected = plainDecode(path("late.m4a"));
    ASSERT_GE(expected.size(), std::size_t{2} * 3 * 44100);
    const auto reader = open("late.m4a");
    // Whole packets are stated, the last may play in part.
    EXPECT_NEAR(reader->length(), static_cast<double>(expected.size()) / 2, 1024);
    EXPECT_NEAR(reader->length(), open("plain.m4a")->length(), 1024);
    expectReads(*reader, expected);
}

}  // namespace
