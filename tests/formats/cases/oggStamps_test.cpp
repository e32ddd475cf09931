// Ogg pages whose time stamps are not where the sound is.

#include "formats/FaultyFile.h"
#include "formats/cases/PlayedFiles.h"
#include "formats/ogg/oggPages.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using testsupport::littleEndian;

constexpr std::size_t kStampAt = 6;

std::int64_t stampOf(const std::string& page)
{
    std::uint64_t stamp = 0;
    for (std::size_t i = 8; i-- > 0;)
        stamp = stamp << 8U | static_cast<std::uint8_t>(page[kStampAt + i]);
    return static_cast<std::int64_t>(stamp);
}

class OggStamps : public testsupport::PlayedFiles {};

TEST_F(OggStamps, ThatJumpForthAndBackMoveNothing)
{
    encodeVorbis(path("a.ogg"), testsupport::testPcm(200000, 44100, 2, 16));
    const std::vector<float> expected = testsupport::vorbisScaled(testsupport::decodeVorbis(path("a.ogg")));
    std::vector<std::string> pages = testsupport::oggPages(testsupport::readWholeFile(path("a.ogg")));
    ASSERT_GT(pages.size(), 8U);
    // All but the first of sound, which says where it begins, and the last two, which say where it ends.
    int jumps = 0;
    for (std::size_t i = 4; i + 2 < pages.size(); ++i) {
        if (stampOf(pages[i]) <= 0)
            continue;
        const std::int64_t jumped = stampOf(pages[i]) + (++jumps % 2 == 0 ? 448 : -448);
        pages[i].replace(kStampAt, 8, littleEndian(static_cast<std::uint64_t>(jumped), 8));
        testsupport::sealOggPage(pages[i]);
    }
    ASSERT_GT(jumps, 3);
    const std::string bytes = testsupport::join(pages);
    write("b.ogg", bytes);
    expectPlays("b.ogg", expected);

    const auto file = ebo::makeRef<testsupport::FaultyFile>("/b.ogg", bytes);
    const auto reader = ebo::makeRef<oggFileReader>(file);
    file->seeks = 0;
    testsupport::readAll(*reader);
    EXPECT_EQ(file->seeks, 0);
}

TEST_F(OggStamps, OfFfmpegsMuxerAreNoMatter)
{
    encodeVorbis(path("a.ogg"), testsupport::testPcm(200000, 44100, 2, 16));
    testsupport::runFfmpeg({"-i", path("a.ogg"), "-c", "copy", "-page_duration", "100000", path("b.ogg")});
    expectReads(*open("b.ogg"), testsupport::vorbisScaled(testsupport::decodeVorbis(path("b.ogg"))));
}

}  // namespace
