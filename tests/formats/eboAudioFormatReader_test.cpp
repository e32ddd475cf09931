#include "formats/eboAudioFormatReader.h"

#include "runtime/refptr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

namespace {

/// Delivers sample values that tell frame and channel: frame / 65536 + channel / 4, all exact in a float.
class CountingReader : public eboAudioFormatReader {
public:
    CountingReader(std::uint32_t channels, std::uint32_t length) : channels_(channels), length_(length) {}

    static float value(std::uint64_t frame, std::uint64_t channel)
    {
        return static_cast<float>(frame % 65536) / 65536.0f + static_cast<float>(channel) / 4.0f;
    }

    ebo::refptr<eboFormatReader> clone() override { return nullptr; }
    void close() override {}
    [[nodiscard]] std::uint32_t channelCount() const override { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return 44100; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override { return length_; }
    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override
    {
        const std::uint64_t end = std::min(firstSample + sampleCount, std::uint64_t{length_} * channels_);
        std::uint64_t sample = firstSample;
        for (; sample < end; ++sample)
            *target++ = value(sample / channels_, sample % channels_);
        return sample - firstSample;
    }

private:
    std::uint32_t channels_;
    std::uint32_t length_;
};

ebo::refptr<eboAudioFormatReader> reader(std::uint32_t channels, std::uint32_t length = 100000)
{
    return ebo::makeRef<CountingReader>(channels, length);
}

TEST(AudioFormatReader, MonoIsTheMeanOfTheChannels)
{
    std::vector<float> mono(3, -1.0f);
    ASSERT_EQ(reader(2)->readMono(mono.data(), 7, 3), 3U);
    for (std::uint32_t i = 0; i < 3; ++i)
        EXPECT_EQ(mono[i], CountingReader::value(7 + i, 0) + 0.125f) << "frame " << 7 + i;
}

TEST(AudioFormatReader, BlocksOfAnyLengthJoinWithoutASeam)
{
    const auto source = reader(1);
    for (const std::uint32_t frames : {1U, 4095U, 4096U, 4097U, 16384U, 50000U}) {
        std::vector<float> mono(frames + 1, -1.0f);
        ASSERT_EQ(source->readMono(mono.data(), 11, frames), frames);
        for (std::uint32_t i = 0; i < frames; ++i)
            ASSERT_EQ(mono[i], CountingReader::value(11 + i, 0)) << "frame " << i << " of " << frames;
        EXPECT_EQ(mono[frames], -1.0f) << "nothing is written behind the frames asked for";
    }
}

TEST(AudioFormatReader, AShortReadEndsTheRequest)
{
    std::vector<float> mono(20000);
    EXPECT_EQ(reader(2, 10000)->readMono(mono.data(), 1, 20000), 9999U);
    EXPECT_EQ(reader(2, 10000)->readMono(mono.data(), 10000, 20000), 0U);
    EXPECT_EQ(reader(2, 10000)->readMono(mono.data(), 0, 0), 0U);
}

TEST(AudioFormatReader, PositionsReachToTheLastFrameOfTheLongestTrack)
{
    constexpr std::uint32_t kLength = std::numeric_limits<std::uint32_t>::max();
    const auto source = reader(8, kLength);
    EXPECT_EQ(source->sampleCount(), 8ULL * kLength);
    std::array<float, 10> mono{};
    EXPECT_EQ(source->readMono(mono.data(), kLength - 4, 10), 4U);
    EXPECT_EQ(mono[3], CountingReader::value(kLength - 1, 0) + 7.0f / 8.0f);
}

TEST(AudioFormatReader, ChannelsAreTakenApart)
{
    std::array<std::vector<float>, 3> targets;
    std::array<float*, 3> pointers{};
    for (std::size_t i = 0; i < targets.size(); ++i) {
        targets[i].assign(5000, -1.0f);
        pointers[i] = targets[i].data();
    }
    ASSERT_EQ(reader(3)->readChannels(pointers.data(), 100, 5000, 0), 5000U) << "0 means all channels";
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t i = 0; i < 5000; ++i)
            ASSERT_EQ(targets[channel][i], CountingReader::value(100 + i, channel)) << i << ", " << channel;
    }
}

TEST(AudioFormatReader, ChannelsTheSourceDoesNotHaveAreSilentForTheWholeRequest)
{
    std::array<std::vector<float>, 3> targets;
    std::array<float*, 3> pointers{};
    for (std::size_t i = 0; i < targets.size(); ++i) {
        targets[i].assign(10, -1.0f);
        pointers[i] = targets[i].data();
    }
    EXPECT_EQ(reader(2, 4)->readChannels(pointers.data(), 0, 10, 3), 4U);
    EXPECT_EQ(targets[1][3], CountingReader::value(3, 1));
    EXPECT_EQ(targets[1][4], -1.0f);
    EXPECT_EQ(targets[2], std::vector<float>(10, 0.0f));
}

TEST(AudioFormatReader, FewerTargetsTakeTheFirstChannels)
{
    std::array<float, 4> first{};
    float* target = first.data();
    EXPECT_EQ(reader(2)->readChannels(&target, 8, 4, 1), 4U);
    EXPECT_EQ(first[0], CountingReader::value(8, 0));
}

TEST(AudioFormatReader, StereoOfMonoIsTheSameTwice)
{
    std::array<float, 4> left{};
    std::array<float, 4> right{};
    std::array<float*, 2> targets = {left.data(), right.data()};
    EXPECT_EQ(reader(1)->readStereoPlanar(targets.data(), 8, 4), 4U);
    EXPECT_EQ(left[1], CountingReader::value(9, 0));
    EXPECT_EQ(right, left);
}

TEST(AudioFormatReader, StereoOfStereoIsLeftAndRight)
{
    std::array<float, 4> left{};
    std::array<float, 4> right{};
    std::array<float*, 2> targets = {left.data(), right.data()};
    EXPECT_EQ(reader(2)->readStereoPlanar(targets.data(), 8, 4), 4U);
    EXPECT_EQ(left[1], CountingReader::value(9, 0));
    EXPECT_EQ(right[1], CountingReader::value(9, 1));
}

TEST(AudioFormatReader, StereoOfMoreChannelsIsNothing)
{
    std::array<float, 4> left{};
    std::array<float*, 2> targets = {left.data(), left.data()};
    EXPECT_EQ(reader(3)->readStereoPlanar(targets.data(), 0, 4), 0U);
}

}  // namespace
