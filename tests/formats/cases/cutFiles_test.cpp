// Files that were cut off keep the length that they state; streams that were cut out of longer ones begin at
// their first block.

#include "formats/cases/PlayedFiles.h"
#include "formats/flac/flacBytes.h"
#include "formats/ogg/oggPages.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using testsupport::flacScale;
using testsupport::Pcm;
using testsupport::plainDecode;
using testsupport::readWholeFile;
using testsupport::scaled;
using testsupport::slice;

using Ending = TrackLength::Ending;

class CutFiles : public testsupport::PlayedFiles {
protected:
    /// Expects that a file cut at half its size announces what the whole one does, and ends early.
    void expectKeptLength(const std::string& whole, const std::string& cut)
    {
        const std::string bytes = readWholeFile(path(whole));
        write(cut, bytes.substr(0, bytes.size() / 2));
        const auto reader = open(cut);
        ASSERT_TRUE(reader);
        EXPECT_EQ(reader->length(), open(whole)->length());
        const std::size_t frames = played(cut).size() / 2;
        EXPECT_GT(frames, reader->length() / 4);
        EXPECT_LT(frames, reader->length() * 3 / 4);
        EXPECT_EQ(reader->trackLength().endingAfter(static_cast<std::int64_t>(frames), 44100),
                  Ending::kEarly);
    }

    const Pcm pcm_ = testsupport::testPcm(100000, 44100, 2, 16);
    const std::vector<float> samples_ = scaled(pcm_.samples, flacScale(16));
};

TEST_F(CutFiles, AnMp3ThatTellsItsBytesKeepsItsLength)
{
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-b:a", "128k"}, {"-q:a", "4"}}) {
        encoded("a.mp3", options);
        expectKeptLength("a.mp3", "cut.mp3");
    }
}

TEST_F(CutFiles, AnAiffKeepsItsLength)
{
    encoded("a.aif");
    expectKeptLength("a.aif", "cut.aif");
}

TEST_F(CutFiles, AFlacThatBreaksOffWithinABlockKeepsItsLength)
{
    for (const char* name : {"a.flac", "a.oga"}) {
        SCOPED_TRACE(name);
        encodeFlac(path(name), pcm_);
        expectKeptLength(name, std::string("cut") + name);
    }
}

TEST_F(CutFiles, AFlacThatEndsWithAWholeBlockIsAsLongAsItPlays)
{
    encodeFlac(path("a.flac"), pcm_, {"--blocksize=1000"});
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path("a.flac"));
    write("cut.flac", readWholeFile(path("a.flac")).substr(0, blocks[60]));
    expectPlays("cut.flac", slice(samples_, 2, 0, 60000));
    EXPECT_EQ(open("cut.flac")->trackLength(), TrackLength::searched(60000, 100000));
}

TEST_F(CutFiles, AFlacOutOfARunningStreamBeginsAtItsFirstBlock)
{
    encodeFlac(path("a.flac"), pcm_, {"--blocksize=1000", "--no-seektable"});
    const std::vector<std::size_t> blocks = testsupport::flacBlockOffsets(path("a.flac"));
    std::string bytes = readWholeFile(path("a.flac"));
    bytes.erase(blocks[0], blocks[30] - blocks[0]);
    for (const std::uint64_t stated : {0U, 100000U}) {
        testsupport::setFlacTotalFrames(bytes, stated);
        write("late.flac", bytes);
        SCOPED_TRACE(stated);
        const std::vector<float> expected = slice(samples_, 2, 30000, 70000);
        expectPlays("late.flac", expected);
        const auto reader = open("late.flac");
        for (const std::uint64_t frame : {65432U, 100U, 33333U})
            EXPECT_EQ(testsupport::firstDifference(testsupport::read(*reader, frame, 1500),
                                                   slice(expected, 2, frame, 1500)),
                      -1)
                << frame;
    }
}

TEST_F(CutFiles, AnOggFlacOutOfARunningStreamBeginsAtItsFirstBlock)
{
    encodeFlac(path("a.oga"), pcm_, {"--blocksize=1000"});
    std::vector<std::string> pages = testsupport::oggPages(readWholeFile(path("a.oga")));
    // Pages of sound have a place in time.
    std::size_t head = 0;
    while (pages[head].substr(6, 8) == std::string(8, '\0'))
        ++head;
    ASSERT_GT(pages.size(), head + 10);
    pages.erase(pages.begin() + static_cast<std::ptrdiff_t>(head),
                pages.begin() + static_cast<std::ptrdiff_t>(head + 5));
    write("late.oga", testsupport::join(pages));
    const std::vector<float> all = played("late.oga");
    ASSERT_GT(all.size(), 2U * 10000);
    ASSERT_LT(all.size(), samples_.size());
    const std::size_t frames = all.size() / 2;
    EXPECT_EQ(frames % 1000, 0U);
    EXPECT_EQ(open("late.oga")->length(), frames);
    EXPECT_EQ(testsupport::firstDifference(all, slice(samples_, 2, 100000 - frames, frames)), -1);
}

}  // namespace
