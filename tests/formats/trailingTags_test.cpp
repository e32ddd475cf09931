#include "formats/trailingTags.h"

#include "formats/tags.h"
#include "support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using testsupport::apeTag;
using testsupport::id3v1;
using testsupport::id3v2;
using testsupport::lyrics3;

std::int64_t trailing(const std::string& bytes)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a.mp3", bytes);
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    return trailingTagBytes(feed);
}

std::int64_t leading(const std::string& bytes)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a.mp3", bytes);
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    return leadingTagBytes(feed);
}

std::int64_t sizeOf(const std::string& tag) { return static_cast<std::int64_t>(tag.size()); }

const std::string kSound(1000, 's');

TEST(TrailingTags, SoundAloneHasNone)
{
    EXPECT_EQ(trailing(kSound), 0);
    EXPECT_EQ(trailing(""), 0);
    EXPECT_EQ(trailing("TAG"), 0);
}

TEST(TrailingTags, Id3V1Takes128Bytes) { EXPECT_EQ(trailing(kSound + id3v1()), 128); }

TEST(TrailingTags, AnApeTagWithAndWithoutItsHead)
{
    for (const bool withHead : {false, true}) {
        const std::string tag = apeTag(300000, withHead);
        EXPECT_EQ(trailing(kSound + tag), sizeOf(tag)) << withHead;
    }
}

TEST(TrailingTags, Lyrics) { EXPECT_EQ(trailing(kSound + lyrics3()), sizeOf(lyrics3())); }

TEST(TrailingTags, AllOfThemInAnyOrder)
{
    const std::string ape = apeTag(500, true);
    for (const std::string& tags :
         {ape + lyrics3() + id3v1(), lyrics3() + ape + id3v1(), id3v1() + ape, ape + ape + id3v1()})
        EXPECT_EQ(trailing(kSound + tags), sizeOf(tags));
}

TEST(TrailingTags, SizesThatNoTagCanHaveAreNoTags)
{
    std::string ape = apeTag(500, false);
    ape.replace(ape.size() - 20, 4, "\xFF\xFF\xFF\x7F");  // larger than the file
    EXPECT_EQ(trailing(kSound + ape), 0);
    ape.replace(ape.size() - 20, 4, std::string("\x1F\0\0\0", 4));  // smaller than its own end
    EXPECT_EQ(trailing(kSound + ape), 0);
    std::string lyrics = lyrics3();
    lyrics.replace(lyrics.size() - 15, 6, "999999");
    EXPECT_EQ(trailing(kSound + lyrics), 0);
    lyrics.replace(lyrics.size() - 15, 6, "12a456");
    EXPECT_EQ(trailing(kSound + lyrics), 0);
}

TEST(LeadingTags, SoundAloneHasNone) { EXPECT_EQ(leading(kSound), 0); }

TEST(LeadingTags, SizesHaveSevenBitsAByte)
{
    EXPECT_EQ(leading(id3v2(20) + kSound), 30);
    EXPECT_EQ(leading(id3v2(300000) + kSound), 300010);
    EXPECT_EQ(leading(id3v2(20, true) + kSound), 40);
}

TEST(LeadingTags, TwoAreTwo) { EXPECT_EQ(leading(id3v2(200) + id3v2(20) + kSound), 240); }

}  // namespace
