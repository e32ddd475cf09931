// Files that state another number of frames than they have.

#include "formats/cases/PlayedFiles.h"
#include "formats/flac/flacBytes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using testsupport::bigEndian;
using testsupport::bigEndian32At;
using testsupport::plainDecode;

using Source = TrackLength::Source;

constexpr int kPacketFrames = 1152;

class WrongCounts : public testsupport::PlayedFiles {
protected:
    /// Puts a wrong count at the byte of an mp3 and expects that it is counted instead.
    void expectCounted(std::string bytes, std::size_t countAt)
    {
        const std::uint32_t right = bigEndian32At(bytes, countAt);
        for (const std::uint32_t wrong : {right / 2, right * 2, 1U, 0x7FFFFFFFU}) {
            bytes.replace(countAt, 4, bigEndian(wrong, 4));
            write("wrong.mp3", bytes);
            SCOPED_TRACE("stated: " + std::to_string(wrong) + ", right: " + std::to_string(right));
            expectPlays("wrong.mp3", plainDecode(path("wrong.mp3")));
            EXPECT_EQ(open("wrong.mp3")->trackLength().source(), Source::kCounted);
        }
    }
};

TEST_F(WrongCounts, OfXingAreCountedInstead)
{
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-b:a", "128k"}, {"-q:a", "4"}}) {
        const std::string bytes = encoded("right.mp3", options, 3);
        const std::size_t mark = std::min(bytes.find("Xing"), bytes.find("Info"));
        ASSERT_NE(mark, std::string::npos);
        expectCounted(bytes, mark + 8);
        EXPECT_EQ(open("right.mp3")->trackLength().source(), Source::kStated);
    }
}

TEST_F(WrongCounts, OfVbriAreCountedInstead)
{
    // The head takes a packet of its own: 417 bytes at 128 kbit/s.
    const std::string sound =
        encoded("plain.mp3", {"-b:a", "128k", "-write_xing", "0", "-id3v2_version", "0"}, 3);
    const std::size_t frames = plainDecode(path("plain.mp3")).size() / 2;
    std::string head = sound.substr(0, 4) + std::string(413, '\0');
    head.replace(36, 18,
                 "VBRI" + bigEndian(1, 2) + std::string(2, '\0') + bigEndian(75, 2) +
                     bigEndian(head.size() + sound.size(), 4) + bigEndian(frames / kPacketFrames, 4));
    write("right.mp3", head + sound);
    EXPECT_EQ(open("right.mp3")->length(), frames);
    EXPECT_EQ(open("right.mp3")->trackLength().source(), Source::kStated);
    expectCounted(head + sound, 36 + 14);
}

TEST_F(WrongCounts, TwoMp3sPutTogetherPlayFromTheFirstToTheLast)
{
    const std::string a = encoded("a.mp3", {"-b:a", "128k"}, 2);
    const std::string b = encoded("b.mp3", {"-b:a", "192k"}, 3);
    write("both.mp3", a + b);
    expectPlays("both.mp3", plainDecode(path("both.mp3")));
    EXPECT_GT(open("both.mp3")->length(), 5U * 44100);
}

TEST_F(WrongCounts, OfStreamInfoGiveWayToTheLastBlock)
{
    const testsupport::Pcm pcm = testsupport::testPcm(100000, 44100, 2, 16);
    const std::vector<float> expected = testsupport::scaled(pcm.samples, testsupport::flacScale(16));
    testsupport::encodeFlac(path("right.flac"), pcm);
    expectPlays("right.flac", expected);
    EXPECT_EQ(open("right.flac")->trackLength(), TrackLength::stated(100000));
    std::string bytes = testsupport::readWholeFile(path("right.flac"));
    for (const std::uint64_t wrong : {50000U, 200000U, 1U, 99999U, 100001U}) {
        testsupport::setFlacTotalFrames(bytes, wrong);
        write("wrong.flac", bytes);
        expectPlays("wrong.flac", expected);
        EXPECT_EQ(open("wrong.flac")->trackLength(),
                  TrackLength::searched(100000, static_cast<std::int64_t>(wrong)));
    }
}

TEST_F(WrongCounts, OfFramesInABlockOfFlacAreNoMatter)
{
    const testsupport::Pcm pcm = testsupport::testPcm(100000, 44100, 2, 16);
    testsupport::encodeFlac(path("right.flac"), pcm, {"--blocksize=4096", "--no-seektable"});
    std::string bytes = testsupport::readWholeFile(path("right.flac"));
    for (const std::uint64_t least : {16U, 1000U}) {
        bytes.replace(testsupport::kFlacStreamInfo, 4, bigEndian(least, 2) + bigEndian(1000, 2));
        write("wrong.flac", bytes);
        SCOPED_TRACE(least);
        ASSERT_EQ(testsupport::decodeFlac(path("wrong.flac"), 16), pcm.samples);
        expectPlays("wrong.flac", testsupport::scaled(pcm.samples, testsupport::flacScale(16)));
    }
}

TEST_F(WrongCounts, OfAiffAreCountedInstead)
{
    std::string bytes = encoded("right.aif");
    const std::vector<float> expected = plainDecode(path("right.aif"));
    const std::size_t countAt = bytes.find("COMM") + 10;
    const std::uint32_t right = bigEndian32At(bytes, countAt);
    ASSERT_EQ(right, 3U * 44100);
    for (const std::uint32_t wrong : {right / 2, right * 2, 1U, 0x7FFFFFFFU}) {
        bytes.replace(countAt, 4, bigEndian(wrong, 4));
        write("wrong.aif", bytes);
        SCOPED_TRACE(wrong);
        expectPlays("wrong.aif", expected);
    }
}

}  // namespace
