// Tags and garbage around the sound are neither counted nor analysed.

#include "formats/cases/PlayedFiles.h"
#include "formats/tags.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace {

using testsupport::apeTag;
using testsupport::id3v1;
using testsupport::id3v2;
using testsupport::lyrics3;

constexpr std::size_t kPictureBytes = 300000;

/// What stands in front of the sound, and behind it.
struct Tags {
    const char* name;
    std::string front;
    std::string back;
};

std::vector<Tags> everyTag()
{
    const std::string garbage = apeTag(5000, false).substr(40, 3000);
    return {{"ID3v1", "", id3v1()},
            {"ID3v2 twice", id3v2(3000) + id3v2(200), ""},
            {"Lyrics3 and ID3v1", "", lyrics3() + id3v1()},
            {"APE behind", "", apeTag(kPictureBytes, true)},
            {"APE behind, without its head, and ID3v1", "", apeTag(kPictureBytes, false) + id3v1()},
            {"zeros behind", "", std::string(5000, '\0')},
            {"garbage behind", "", garbage},
            {"all of them", id3v2(3000), apeTag(kPictureBytes, true) + lyrics3() + id3v1()}};
}

class Tagged : public testsupport::PlayedFiles {
protected:
    /// The tags change nothing of what a clean file announces and plays.
    void expectTheSame(const std::string& extension, const std::string& sound, const Tags& tags)
    {
        SCOPED_TRACE(tags.name);
        write("clean" + extension, sound);
        write("tagged" + extension, tags.front + sound + tags.back);
        const auto clean = open("clean" + extension);
        const auto tagged = open("tagged" + extension);
        if (!clean || !tagged)
            return;
        EXPECT_EQ(tagged->length(), clean->length());
        EXPECT_EQ(tagged->trackLength().statedFrames(), clean->trackLength().statedFrames());
        const std::vector<float> expected = testsupport::readAll(*clean);
        EXPECT_GT(expected.size(), 2U * 2 * 44100);
        expectReads(*tagged, expected);
    }
};

/// How an mp3 with a head that tells padding ends, and whether its head is found at all, is FFmpeg's to say:
/// what plays is announced, and is the sound but for two packets at most.
TEST_F(Tagged, AnMp3WithAHead)
{
    const std::string sound = encoded("a.mp3", {"-b:a", "128k", "-id3v2_version", "0"});
    const std::size_t samples = testsupport::plainDecode(path("a.mp3")).size();
    std::vector<Tags> all = everyTag();
    all.push_back({"APE in front", apeTag(kPictureBytes, true), ""});
    for (const Tags& tags : all) {
        SCOPED_TRACE(tags.name);
        write("tagged.mp3", tags.front + sound + tags.back);
        const auto reader = open("tagged.mp3");
        const std::vector<float> plain = testsupport::plainDecode(path("tagged.mp3"));
        ASSERT_NEAR(static_cast<double>(plain.size()), static_cast<double>(samples), 2 * 2 * 1152);
        expectReads(*reader, plain);
        EXPECT_NEAR(reader->length(), static_cast<double>(plain.size()) / 2, 1152);
        EXPECT_NE(reader->trackLength().endingAfter(static_cast<std::int64_t>(plain.size()) / 2, 44100),
                  TrackLength::Ending::kEarly);
    }
}

TEST_F(Tagged, AnMp3WithoutAHead)
{
    const std::string sound = encoded("a.mp3", {"-b:a", "128k", "-id3v2_version", "0", "-write_xing", "0"});
    for (const Tags& tags : everyTag())
        expectTheSame(".mp3", sound, tags);
}

TEST_F(Tagged, Adts)
{
    const std::string sound = encoded("a.aac");
    for (const Tags& tags : everyTag())
        expectTheSame(".aac", sound, tags);
}

TEST_F(Tagged, Flac)
{
    testsupport::encodeFlac(path("a.flac"), testsupport::testPcm(3 * 44100, 44100, 2, 16));
    const std::string sound = testsupport::readWholeFile(path("a.flac"));
    for (const Tags& tags : everyTag())
        expectTheSame(".flac", sound, tags);
}

TEST_F(Tagged, OggFlac)
{
    testsupport::encodeFlac(path("a.oga"), testsupport::testPcm(3 * 44100, 44100, 2, 16));
    const std::string sound = testsupport::readWholeFile(path("a.oga"));
    for (const Tags& tags : everyTag()) {
        if (tags.front.empty())
            expectTheSame(".oga", sound, tags);
    }
}

TEST_F(Tagged, OggVorbis)
{
    testsupport::encodeVorbis(path("a.ogg"), testsupport::testPcm(3 * 44100, 44100, 2, 16));
    const std::string sound = testsupport::readWholeFile(path("a.ogg"));
    for (const Tags& tags : everyTag()) {
        if (tags.front.empty())
            expectTheSame(".ogg", sound, tags);
    }
}

}  // namespace
