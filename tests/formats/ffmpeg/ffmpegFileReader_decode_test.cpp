#include "formats/readers.h"
#include "support/AudioFiles.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>
#include <vector>

// What the reader delivers, against what the ffmpeg program makes of the same file.

namespace {

using testsupport::makeAudioFile;
using testsupport::plainDecode;
using testsupport::TempDir;

using testsupport::firstDifference;
using testsupport::read;
using testsupport::readAll;
using testsupport::readerOf;

struct Case {
    std::string name;
    std::string extension;
    int sampleRate;
    int channels;
    std::vector<std::string> options;
    double framePadding = 0;  ///< How far the announced length may be from the decoded one.

    friend std::ostream& operator<<(std::ostream& stream, const Case& c) { return stream << c.name; }
};

class Decode : public testing::TestWithParam<Case> {
protected:
    Decode()
    {
        makeAudioFile(path_, kSeconds, GetParam().sampleRate, GetParam().channels, GetParam().options);
        decoded_ = plainDecode(path_);
    }

    static constexpr double kSeconds = 2.0;
    static constexpr std::uint64_t kLastFrame = 4294967295;

    TempDir dir_;
    const std::string path_ = dir_.file("sound." + GetParam().extension);
    std::vector<float> decoded_;
};

TEST_P(Decode, InSequenceEverySampleIsThatOfAPlainDecode)
{
    const auto reader = readerOf(path_);
    EXPECT_EQ(reader->channelCount(), static_cast<std::uint32_t>(GetParam().channels));
    EXPECT_EQ(reader->sampleRate(), static_cast<std::uint32_t>(GetParam().sampleRate));
    const std::vector<float> samples = readAll(*reader);
    ASSERT_EQ(samples.size(), decoded_.size());
    EXPECT_EQ(firstDifference(samples, decoded_), -1);

    // Padding that an encoder adds at the end is announced by some containers, delivered by some decoders.
    const auto decodedFrames = static_cast<double>(decoded_.size()) / GetParam().channels;
    EXPECT_NEAR(reader->length(), decodedFrames, GetParam().framePadding);

    const auto clone = ebo::dynamicCast<ffmpegFileReader>(reader->clone());
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->length(), reader->length());
    EXPECT_EQ(firstDifference(readAll(*clone), decoded_), -1) << "in a clone";
}

TEST_P(Decode, AnyFrameReadAloneIsThatOfTheSequence)
{
    const auto reader = readerOf(path_);
    const auto channels = static_cast<std::size_t>(GetParam().channels);
    const auto step = static_cast<std::ptrdiff_t>(channels);
    const std::size_t frames = decoded_.size() / channels;
    std::mt19937 random(7);
    std::vector<std::size_t> firsts = {frames - 1, 0,          frames / 2,    1, 1151,
                                       2000,       frames / 3, frames - 3000, 0};
    for (int i = 0; i < 12; ++i)
        firsts.push_back(random() % frames);
    for (const std::size_t first : firsts) {
        const std::size_t count = std::min<std::size_t>(3000, frames - first);
        const auto from = decoded_.begin() + static_cast<std::ptrdiff_t>(first * channels);
        const std::vector<float> expected(from, from + static_cast<std::ptrdiff_t>(count * channels));
        EXPECT_EQ(firstDifference(read(*reader, first, count), expected), -1) << "from frame " << first;
    }
    for (const std::uint64_t beyond : {std::uint64_t{frames}, std::uint64_t{frames} + 100000, kLastFrame})
        EXPECT_EQ(read(*reader, beyond, 10).size(), 0U) << "from frame " << beyond;
    EXPECT_EQ(firstDifference(read(*reader, 0, 100), {decoded_.begin(), decoded_.begin() + 100 * step}), -1)
        << "the start is still there";
}

TEST_P(Decode, InMonoEveryFrameIsTheMeanOfItsChannels)
{
    const auto reader = readerOf(path_);
    const auto channels = static_cast<std::size_t>(GetParam().channels);
    std::vector<float> expected(decoded_.size() / channels);
    for (std::size_t frame = 0; frame < expected.size(); ++frame) {
        float sum = decoded_[frame * channels];
        for (std::size_t channel = 1; channel < channels; ++channel)
            sum += decoded_[frame * channels + channel];
        expected[frame] = sum * (1.0f / static_cast<float>(channels));
    }

    std::vector<float> mono(expected.size() + 1);
    const auto frames = static_cast<std::uint32_t>(mono.size());
    ASSERT_EQ(reader->readMono(mono.data(), 0, frames), expected.size());
    mono.pop_back();
    EXPECT_EQ(firstDifference(mono, expected), -1);

    const auto middle = frames / 2;
    std::vector<float> part(1000);
    ASSERT_EQ(reader->readMono(part.data(), middle, 1000), 1000U);
    EXPECT_EQ(firstDifference(part, {expected.begin() + middle, expected.begin() + middle + 1000}), -1)
        << "after a seek";
}

const std::vector<std::string> kNoGaplessHeader = {"-write_xing", "0", "-id3v2_version", "0"};

std::vector<std::string> plus(std::vector<std::string> options, const std::vector<std::string>& more)
{
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

INSTANTIATE_TEST_SUITE_P(
    Wav, Decode,
    testing::Values(Case{"u8", "wav", 8000, 1, {"-c:a", "pcm_u8"}},
                    Case{"s16", "wav", 44100, 2, {"-c:a", "pcm_s16le"}},
                    Case{"s24", "wav", 96000, 2, {"-c:a", "pcm_s24le"}},
                    Case{"s32", "wav", 192000, 1, {"-c:a", "pcm_s32le"}},
                    Case{"f32", "wav", 48000, 2, {"-c:a", "pcm_f32le"}},
                    Case{"f64", "wav", 11025, 1, {"-c:a", "pcm_f64le"}},
                    Case{"s16_5point1", "wav", 48000, 6, {"-c:a", "pcm_s16le"}},
                    Case{"s16_8channels", "wav", 44100, 8, {"-c:a", "pcm_s16le"}},
                    Case{"adpcm", "wav", 44100, 2, {"-c:a", "adpcm_ms"}, 4048},
                    Case{"mp3_inside", "wav", 44100, 2, {"-c:a", "libmp3lame", "-b:a", "128k"}, 2304},
                    Case{"mulaw", "wav", 8000, 1, {"-c:a", "pcm_mulaw"}}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Aiff, Decode,
                         testing::Values(Case{"s16", "aiff", 44100, 2, {"-c:a", "pcm_s16be"}},
                                         Case{"s24", "aif", 48000, 2, {"-c:a", "pcm_s24be"}},
                                         Case{"f32", "aiff", 22050, 1, {"-c:a", "pcm_f32be"}}),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Mp3, Decode,
    testing::Values(Case{"cbr128", "mp3", 44100, 2, {"-b:a", "128k"}, 2304},
                    Case{"cbr320", "mp3", 48000, 2, {"-b:a", "320k"}, 2304},
                    Case{"cbr32mono", "mp3", 44100, 1, {"-b:a", "32k"}, 2304},
                    Case{"cbr48", "mp3", 32000, 2, {"-b:a", "48k"}, 2304},
                    Case{"mpeg2_24k", "mp3", 22050, 1, {"-b:a", "24k"}, 2304},
                    Case{"vbr", "mp3", 44100, 2, {"-q:a", "4"}, 2304},
                    Case{"vbr9mono", "mp3", 44100, 1, {"-q:a", "9"}, 2304},
                    Case{"withoutHeader", "mp3", 44100, 2, plus({"-b:a", "128k"}, kNoGaplessHeader)},
                    Case{"vbrWithoutHeader", "mp3", 44100, 2, plus({"-q:a", "4"}, kNoGaplessHeader)}),
    testing::PrintToStringParamName());

const std::vector<std::string> kAac = {"-c:a", "aac", "-aac_pns", "0"};

INSTANTIATE_TEST_SUITE_P(
    Aac, Decode,
    testing::Values(Case{"m4a", "m4a", 44100, 2, plus(kAac, {"-b:a", "128k"}), 1024},
                    Case{"m4aMono48k", "m4a", 48000, 1, plus(kAac, {"-b:a", "96k"}), 1024},
                    Case{"m4a5point1", "m4a", 48000, 6, plus(kAac, {"-b:a", "256k"}), 1024},
                    Case{"mp4", "mp4", 44100, 2, plus(kAac, {"-b:a", "192k"}), 1024},
                    Case{"mp4FastStart", "mp4", 44100, 2, plus(kAac, {"-movflags", "+faststart"}), 1024},
                    Case{"mp4Fragmented", "mp4", 44100, 2,
                         plus(kAac, {"-movflags", "frag_keyframe+empty_moov"}), 1024},
                    Case{"adts", "aac", 44100, 2, plus(kAac, {"-b:a", "128k"})},
                    Case{"alac", "m4a", 44100, 2, {"-c:a", "alac"}}),
    testing::PrintToStringParamName());

}  // namespace
