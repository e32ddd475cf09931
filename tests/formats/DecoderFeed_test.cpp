#include "formats/DecoderFeed.h"

#include "support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstddef>
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

}  // namespace
