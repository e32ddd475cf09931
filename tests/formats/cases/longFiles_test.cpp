// Files of many bytes: pictures in front, and more than a decoder may take in one call.

#include "formats/cases/PlayedFiles.h"
#include "formats/flac/flacBytes.h"
#include "formats/ogg/oggPages.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::int64_t kMegabyte = 1 << 20;

class LongFiles : public testsupport::PlayedFiles {
protected:
    /// Writes pieces, and behind each a hole of zeros, which takes no room on a disk.
    void writeWithHoles(const std::string& name,
                        const std::vector<std::pair<std::string, std::int64_t>>& pieces)
    {
        std::ofstream stream(path(name), std::ios::binary);
        for (const auto& [bytes, hole] : pieces) {
            stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            stream.seekp(hole, std::ios::cur);
        }
        ASSERT_TRUE(stream);
    }

    /// Parts the pages by two holes, neither of them too large for one call of a decoder, both together are.
    void writeApart(const std::string& name, const std::string& bytes)
    {
        const std::vector<std::string> pages = testsupport::oggPages(bytes);
        ASSERT_GE(pages.size(), 8U);
        const auto from = [&](std::size_t first, std::size_t last) {
            return testsupport::join({pages.begin() + static_cast<std::ptrdiff_t>(first),
                                      pages.begin() + static_cast<std::ptrdiff_t>(last)});
        };
        constexpr std::int64_t kHole = 40 * kMegabyte;
        static_assert(kHole < DecoderFeed::kMostBytesPerCall && 2 * kHole > DecoderFeed::kMostBytesPerCall);
        writeWithHoles(name, {{from(0, 5), kHole}, {from(5, 7), kHole}, {from(7, pages.size()), 0}});
    }

    const testsupport::Pcm pcm_ = testsupport::testPcm(100000, 44100, 2, 16);
};

TEST_F(LongFiles, AFlacWithEightyMegabytesOfPicturesOpens)
{
    encodeFlac(path("a.flac"), pcm_);
    const std::string bytes = testsupport::readWholeFile(path("a.flac"));
    constexpr std::size_t kStreamInfoEnd = testsupport::kFlacStreamInfo + 34;
    constexpr std::uint32_t kPicture = 16'000'000;
    std::vector<std::pair<std::string, std::int64_t>> pieces = {{bytes.substr(0, kStreamInfoEnd), 0}};
    for (int i = 0; i < 5; ++i)
        pieces.emplace_back(testsupport::flacMetadata(6, kPicture, ""), kPicture);
    pieces.emplace_back(bytes.substr(kStreamInfoEnd), 0);
    writeWithHoles("b.flac", pieces);
    expectPlays("b.flac", testsupport::scaled(pcm_.samples, testsupport::flacScale(16)));
}

TEST_F(LongFiles, AnOggFlacPlaysToItsEnd)
{
    encodeFlac(path("a.oga"), pcm_, {"--blocksize=1000"});
    writeApart("b.oga", testsupport::readWholeFile(path("a.oga")));
    expectPlays("b.oga", testsupport::scaled(pcm_.samples, testsupport::flacScale(16)));
}

TEST_F(LongFiles, AnOggVorbisPlaysToItsEnd)
{
    encodeVorbis(path("a.ogg"), pcm_);
    writeApart("b.ogg", testsupport::readWholeFile(path("a.ogg")));
    expectPlays("b.ogg", testsupport::vorbisScaled(testsupport::decodeVorbis(path("a.ogg"))));
}

}  // namespace
