#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

// What the Ogg reader delivers, against what the oggdec program makes of the same file.

namespace {

using testsupport::firstDifference;
using testsupport::monoOf;
using testsupport::oggReaderOf;
using testsupport::readAll;
using testsupport::TempDir;
using testsupport::testPcm;

struct Case {
    std::string name;
    int channels;
    int sampleRate;
    std::vector<std::string> options;
    std::size_t frames = 90000;

    friend std::ostream& operator<<(std::ostream& stream, const Case& c) { return stream << c.name; }
};

class OggDecode : public testing::TestWithParam<Case> {
protected:
    OggDecode()
    {
        testsupport::encodeVorbis(path_,
                                  testPcm(GetParam().frames, GetParam().sampleRate, GetParam().channels, 16),
                                  GetParam().options);
        expected_ = testsupport::vorbisScaled(testsupport::decodeVorbis(path_));
    }

    TempDir dir_;
    const std::string path_ = dir_.file("sound.ogg");
    const std::size_t channels_ = static_cast<std::size_t>(GetParam().channels);
    std::vector<float> expected_;
};

TEST_P(OggDecode, EverySampleIsThatOfTheOggdecProgram)
{
    const auto reader = oggReaderOf(path_);
    EXPECT_EQ(reader->channelCount(), static_cast<std::uint32_t>(GetParam().channels));
    EXPECT_EQ(reader->sampleRate(), static_cast<std::uint32_t>(GetParam().sampleRate));
    EXPECT_EQ(reader->length(), GetParam().frames);
    const std::vector<float> samples = readAll(*reader);
    ASSERT_EQ(samples.size(), GetParam().frames * channels_);
    EXPECT_EQ(firstDifference(samples, expected_), -1);
}

TEST_P(OggDecode, InMonoEveryFrameIsTheMeanOfItsChannels)
{
    const auto reader = oggReaderOf(path_);
    std::vector<float> mono(GetParam().frames + 1);
    const auto frames = static_cast<std::uint32_t>(mono.size());
    ASSERT_EQ(reader->readMono(mono.data(), 0, frames), GetParam().frames);
    mono.pop_back();
    EXPECT_EQ(firstDifference(mono, monoOf(expected_, channels_)), -1);
}

INSTANTIATE_TEST_SUITE_P(Vorbis, OggDecode,
                         testing::Values(Case{"mono8k", 1, 8000, {}}, Case{"mono44k", 1, 44100, {}},
                                         Case{"stereo22k", 2, 22050, {}}, Case{"stereo44k", 2, 44100, {}},
                                         Case{"stereoLowest", 2, 44100, {"--quality=-1"}},
                                         Case{"stereoBest", 2, 48000, {"--quality=10"}},
                                         Case{"managed", 2, 44100, {"--managed", "--bitrate=96"}},
                                         Case{"three", 3, 48000, {}}, Case{"six", 6, 48000, {}},
                                         Case{"eight", 8, 48000, {}}, Case{"oneFrame", 2, 44100, {}, 1},
                                         Case{"aFewFrames", 2, 44100, {}, 100}),
                         testing::PrintToStringParamName());

}  // namespace
