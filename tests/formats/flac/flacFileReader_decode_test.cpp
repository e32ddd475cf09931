#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

// What the FLAC reader delivers, against what the flac program makes of the same file.

namespace {

using testsupport::firstDifference;
using testsupport::flacReaderOf;
using testsupport::monoOf;
using testsupport::Pcm;
using testsupport::readAll;
using testsupport::TempDir;
using testsupport::testPcm;

struct Case {
    std::string name;
    std::string extension;
    int bits;
    int channels;
    int sampleRate;
    std::vector<std::string> options;
    std::size_t frames = 60000;

    friend std::ostream& operator<<(std::ostream& stream, const Case& c) { return stream << c.name; }
};

class FlacDecode : public testing::TestWithParam<Case> {
protected:
    FlacDecode() { testsupport::encodeFlac(path_, pcm_, GetParam().options); }

    TempDir dir_;
    const std::string path_ = dir_.file("sound." + GetParam().extension);
    const std::size_t channels_ = static_cast<std::size_t>(GetParam().channels);
    const Pcm pcm_ = testPcm(GetParam().frames, GetParam().sampleRate, GetParam().channels, GetParam().bits);
    const std::vector<float> expected_ =
        testsupport::scaled(pcm_.samples, testsupport::flacScale(GetParam().bits));
};

TEST_P(FlacDecode, EverySampleIsThatOfTheFlacProgram)
{
    ASSERT_EQ(testsupport::decodeFlac(path_, GetParam().bits), pcm_.samples);
    const auto reader = flacReaderOf(path_);
    EXPECT_EQ(reader->channelCount(), static_cast<std::uint32_t>(GetParam().channels));
    EXPECT_EQ(reader->sampleRate(), static_cast<std::uint32_t>(GetParam().sampleRate));
    EXPECT_EQ(reader->length(), GetParam().frames);
    const std::vector<float> samples = readAll(*reader);
    ASSERT_EQ(samples.size(), expected_.size());
    EXPECT_EQ(firstDifference(samples, expected_), -1);
}

TEST_P(FlacDecode, InMonoEveryFrameIsTheMeanOfItsChannels)
{
    const auto reader = flacReaderOf(path_);
    std::vector<float> mono(GetParam().frames + 1);
    const auto frames = static_cast<std::uint32_t>(mono.size());
    ASSERT_EQ(reader->readMono(mono.data(), 0, frames), GetParam().frames);
    mono.pop_back();
    EXPECT_EQ(firstDifference(mono, monoOf(expected_, channels_)), -1);
}

INSTANTIATE_TEST_SUITE_P(Widths, FlacDecode,
                         testing::Values(Case{"8bits", "flac", 8, 1, 8000, {}},
                                         Case{"16bits", "flac", 16, 2, 44100, {}},
                                         Case{"24bits", "flac", 24, 2, 96000, {}},
                                         Case{"32bits", "flac", 32, 2, 192000, {}}),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Channels, FlacDecode,
    testing::Values(Case{"mono", "flac", 16, 1, 44100, {}}, Case{"three", "flac", 16, 3, 48000, {}},
                    Case{"four", "flac", 24, 4, 48000, {}}, Case{"five", "flac", 16, 5, 48000, {}},
                    Case{"six", "flac", 24, 6, 48000, {}}, Case{"seven", "flac", 16, 7, 48000, {}},
                    Case{"eight", "flac", 24, 8, 48000, {}}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Blocks, FlacDecode,
    testing::Values(
        Case{"16frames", "flac", 16, 2, 44100, {"--lax", "--blocksize=16"}},
        Case{"192frames", "flac", 16, 2, 44100, {"--blocksize=192"}},
        Case{"1152frames", "flac", 16, 2, 44100, {"--blocksize=1152", "-0"}},
        Case{"4096frames", "flac", 16, 2, 44100, {"--blocksize=4096", "-8"}},
        Case{"4608frames", "flac", 16, 2, 44100, {"--blocksize=4608"}},
        Case{"16384frames", "flac", 16, 2, 96000, {"--lax", "--blocksize=16384"}},
        Case{"65535frames", "flac", 16, 2, 44100, {"--lax", "--blocksize=65535"}, 200000},
        Case{"65535framesOf8Channels", "flac", 16, 8, 44100, {"--lax", "--blocksize=65535"}, 200000}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Ogg, FlacDecode,
    testing::Values(Case{"ogg16bits", "oga", 16, 2, 44100, {}}, Case{"ogg24bits", "oga", 24, 1, 96000, {}},
                    Case{"ogg192frames", "oga", 16, 2, 44100, {"--blocksize=192"}},
                    Case{"ogg65535frames", "oga", 16, 2, 44100, {"--lax", "--blocksize=65535"}, 200000}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Lengths, FlacDecode,
                         testing::Values(Case{"oneFrame", "flac", 16, 2, 44100, {}, 1},
                                         Case{"aWholeBlock", "flac", 16, 2, 44100, {}, 4096},
                                         Case{"aBlockAndAFrame", "flac", 16, 2, 44100, {}, 4097}),
                         testing::PrintToStringParamName());

}  // namespace
