#include "formats/DecoderFeed.h"

#include "formats/FaultyFile.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace {

/// As many bytes as anybody wants.
class EndlessFile : public testsupport::MemoryFile {
public:
    EndlessFile() : MemoryFile("/endless", "") {}
    std::int64_t read(void* /*buffer*/, std::int64_t size) override { return size; }
};

TEST(DecoderFeedTest, PassesOnWhatTheFileGives)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a", "abcde");
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    std::string bytes(4, ' ');
    EXPECT_EQ(feed.read(bytes.data(), 4), 4);
    EXPECT_EQ(bytes, "abcd");
    EXPECT_EQ(feed.read(bytes.data(), 4), 1);
    EXPECT_EQ(feed.read(bytes.data(), 4), 0);
    file->close();
    EXPECT_EQ(feed.read(bytes.data(), 4), -1);
}

TEST(DecoderFeedTest, FailsWhenOneCallSwallowsTooMuch)
{
    const auto file = ebo::makeRef<EndlessFile>();
    DecoderFeed feed(*file);
    constexpr std::size_t kPiece = std::size_t{1} << 20U;
    std::vector<char> buffer(kPiece);
    for (int call = 0; call < 2; ++call) {
        feed.renew();
        std::int64_t total = 0;
        while (feed.read(buffer.data(), kPiece) > 0)
            total += kPiece;
        EXPECT_EQ(total, DecoderFeed::kMostBytesPerCall);
        EXPECT_EQ(feed.read(buffer.data(), 1), -1);
    }
}

TEST(DecoderFeedTest, TakingTooMuchIsNoFailureOfTheFile)
{
    const auto file = ebo::makeRef<EndlessFile>();
    DecoderFeed feed(*file, {}, 10);
    char byte = 0;
    std::string bytes(10, ' ');
    EXPECT_EQ(feed.read(bytes.data(), 10), 10);
    EXPECT_EQ(feed.read(&byte, 1), -1);
    EXPECT_FALSE(feed.hasFailed());
}

TEST(DecoderFeedTest, WhoHasGivenUpGetsNothingMore)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a", "abcde");
    file->open(eboFile::OpenRead);
    bool stops = false;
    DecoderFeed feed(*file, [&] { return stops; });
    const testsupport::LogCapture log;
    char byte = 0;
    EXPECT_EQ(feed.read(&byte, 1), 1);
    stops = true;
    EXPECT_EQ(feed.read(&byte, 1), -1);
    EXPECT_EQ(file->pos(), 1) << "nothing was read";
    stops = false;
    EXPECT_EQ(feed.read(&byte, 1), 1);
    EXPECT_TRUE(feed.hasFailed()) << "what was missed is missed";
    EXPECT_TRUE(log.texts().empty()) << "the user knows";
}

TEST(DecoderFeedTest, AFailureIsRememberedAndLoggedOnce)
{
    const auto file = ebo::makeRef<testsupport::FaultyFile>("/a.mp3", "abcde");
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    const testsupport::LogCapture log;
    std::string bytes(5, ' ');
    EXPECT_FALSE(feed.hasFailed());
    file->failAt = 2;
    EXPECT_EQ(feed.read(bytes.data(), 5), 2);
    EXPECT_FALSE(feed.hasFailed());
    EXPECT_EQ(feed.read(bytes.data(), 5), -1);
    EXPECT_EQ(feed.read(bytes.data(), 5), -1);
    file->failAt = testsupport::FaultyFile::kNever;
    EXPECT_EQ(feed.read(bytes.data(), 5), 3);
    EXPECT_TRUE(feed.hasFailed());
    ASSERT_EQ(log.texts().size(), 1U);
    EXPECT_NE(log.texts()[0].find("Failed to read /a.mp3 at byte 2"), std::string::npos) << log.texts()[0];
}

TEST(DecoderFeedTest, NothingWhereThereIsMoreIsAFailure)
{
    const auto file = ebo::makeRef<testsupport::FaultyFile>("/a.mp3", "abcde");
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    const testsupport::LogCapture log;
    std::string bytes(5, ' ');
    EXPECT_EQ(feed.read(bytes.data(), 0), 0);
    EXPECT_FALSE(feed.hasFailed());
    file->failAt = 2;
    file->failWith = 0;
    EXPECT_EQ(feed.read(bytes.data(), 5), 2);
    EXPECT_EQ(feed.read(bytes.data(), 5), 0);
    EXPECT_TRUE(feed.hasFailed());
}

TEST(DecoderFeedTest, TheEndIsNoFailure)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a", "abcde");
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    std::string bytes(9, ' ');
    EXPECT_EQ(feed.read(bytes.data(), 9), 5);
    EXPECT_EQ(feed.read(bytes.data(), 9), 0);
    EXPECT_FALSE(feed.hasFailed());
}

TEST(DecoderFeedTest, WhatTheFileItselfHasLostCounts)
{
    class LossyFile : public testsupport::MemoryFile {
    public:
        using MemoryFile::MemoryFile;
        [[nodiscard]] bool hasLostData() const override { return true; }
    };
    const auto file = ebo::makeRef<LossyFile>("/a", "abcde");
    EXPECT_TRUE(DecoderFeed(*file).hasFailed());
}

TEST(DecoderFeedTest, SeeksFromTheStartTheCurrentPlaceAndBackwardsFromTheEnd)
{
    const auto file = ebo::makeRef<testsupport::MemoryFile>("/a", "abcdefgh");
    file->open(eboFile::OpenRead);
    DecoderFeed feed(*file);
    EXPECT_TRUE(feed.seek(3, SEEK_SET));
    EXPECT_EQ(feed.pos(), 3);
    EXPECT_TRUE(feed.seek(2, SEEK_CUR));
    EXPECT_EQ(feed.pos(), 5);
    EXPECT_TRUE(feed.seek(-1, SEEK_CUR));
    EXPECT_EQ(feed.pos(), 4);
    EXPECT_TRUE(feed.seek(2, SEEK_END));
    EXPECT_EQ(feed.pos(), 6) << "a positive offset lies inside";
    EXPECT_TRUE(feed.seek(-2, SEEK_END));
    EXPECT_EQ(feed.pos(), 10);
    EXPECT_FALSE(feed.seek(0, SEEK_END + 7));
    EXPECT_EQ(feed.pos(), 10);
    EXPECT_FALSE(feed.hasFailed());
}

TEST(DecoderFeedTest, ARefusedSeekIsAFailureWhereTheFileHasThePlace)
{
    const auto file = ebo::makeRef<testsupport::FaultyFile>("/a.mp3", "abcde");
    file->open(eboFile::OpenRead);
    file->seeksFail = true;
    DecoderFeed feed(*file);
    const testsupport::LogCapture log;
    EXPECT_FALSE(feed.seek(-1));
    EXPECT_FALSE(feed.seek(6));
    EXPECT_FALSE(feed.hasFailed()) << "no file has these places";
    EXPECT_FALSE(feed.seek(5));
    EXPECT_TRUE(feed.hasFailed());
}

}  // namespace
