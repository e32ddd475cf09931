#include "formats/ffmpeg/ffmpegReshaper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace {

using Samples = std::vector<float>;

constexpr ffmpegShape kStereo{2, 44100, AV_SAMPLE_FMT_FLT};
constexpr ffmpegShape kMono{1, 44100, AV_SAMPLE_FMT_FLT};
constexpr ffmpegShape kFast{2, 48000, AV_SAMPLE_FMT_FLT};

/// A frame of interleaved float.
ffmpeg::Frame frameOf(const ffmpegShape& shape, const Samples& samples)
{
    ffmpeg::Frame frame(av_frame_alloc());
    frame->format = shape.format;
    frame->sample_rate = shape.sampleRate;
    av_channel_layout_default(&frame->ch_layout, shape.channels);
    frame->nb_samples = static_cast<int>(samples.size()) / shape.channels;
    EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    std::copy(samples.begin(), samples.end(), reinterpret_cast<float*>(frame->data[0]));
    return frame;
}

/// All that is there, each block in the shape asked for.
Samples taken(ffmpegReshaper& reshaper, const ffmpegShape& shape)
{
    Samples samples;
    const ffmpeg::Frame frame(av_frame_alloc());
    while (reshaper.give(*frame)) {
        EXPECT_EQ(ffmpegShape::of(*frame), shape);
        const auto* first = reinterpret_cast<const float*>(frame->data[0]);
        samples.insert(samples.end(), first,
                       first + static_cast<std::ptrdiff_t>(frame->nb_samples) * shape.channels);
    }
    return samples;
}

Samples sine(const ffmpegShape& shape, double seconds)
{
    Samples samples;
    for (int i = 0; i < static_cast<int>(seconds * shape.sampleRate); ++i) {
        for (int channel = 0; channel < shape.channels; ++channel)
            samples.push_back(
                static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 440 * i / shape.sampleRate)));
    }
    return samples;
}

TEST(FfmpegReshaperTest, HasNothingBeforeItWasGivenAnything)
{
    ffmpegReshaper reshaper(kStereo);
    EXPECT_TRUE(taken(reshaper, kStereo).empty());
    EXPECT_TRUE(reshaper.finish());
    EXPECT_TRUE(taken(reshaper, kStereo).empty());
}

TEST(FfmpegReshaperTest, MonoIsTheSameInBothChannelsAndAsLoud)
{
    ffmpegReshaper reshaper(kStereo);
    ASSERT_TRUE(reshaper.take(*frameOf(kMono, {0.25f, -0.5f, 1.0f})));
    ASSERT_TRUE(reshaper.finish());
    EXPECT_EQ(taken(reshaper, kStereo), (Samples{0.25f, 0.25f, -0.5f, -0.5f, 1.0f, 1.0f}));
}

TEST(FfmpegReshaperTest, StereoInMonoIsTheMean)
{
    ffmpegReshaper reshaper(kMono);
    ASSERT_TRUE(reshaper.take(*frameOf(kStereo, {0.25f, 0.75f, -1.0f, 1.0f, 0.5f, 0.0f})));
    ASSERT_TRUE(reshaper.finish());
    EXPECT_EQ(taken(reshaper, kMono), (Samples{0.5f, 0.0f, 0.25f}));
}

TEST(FfmpegReshaperTest, WhatHasTheShapeAlreadyPassesAsItIsAndKeepsItsTurn)
{
    ffmpegReshaper reshaper(kStereo);
    ASSERT_TRUE(reshaper.take(*frameOf(kStereo, {0.1f, 0.2f})));
    ASSERT_TRUE(reshaper.take(*frameOf(kMono, {0.3f})));
    ASSERT_TRUE(reshaper.take(*frameOf(kStereo, {0.4f, 0.5f})));
    ASSERT_TRUE(reshaper.finish());
    EXPECT_EQ(taken(reshaper, kStereo), (Samples{0.1f, 0.2f, 0.3f, 0.3f, 0.4f, 0.5f}));
}

TEST(FfmpegReshaperTest, AnotherRateLastsAsLongAndSoundsTheSame)
{
    ffmpegReshaper reshaper(kStereo);
    const Samples before = sine(kFast, 0.5);
    constexpr std::size_t kPiece = 2 * 1024;
    for (std::size_t at = 0; at < before.size(); at += kPiece) {
        const Samples piece(before.begin() + static_cast<std::ptrdiff_t>(at),
                            before.begin() +
                                static_cast<std::ptrdiff_t>(std::min(at + kPiece, before.size())));
        ASSERT_TRUE(reshaper.take(*frameOf(kFast, piece)));
    }
    ASSERT_TRUE(reshaper.finish());
    const Samples after = taken(reshaper, kStereo);
    const Samples wanted = sine(kStereo, 0.5);
    ASSERT_EQ(after.size(), wanted.size());
    // The filter is some 16 frames long on either side, and hears silence beyond the ends.
    for (std::size_t i = 64; i + 64 < wanted.size(); ++i)
        ASSERT_NEAR(after[i], wanted[i], 0.002f) << "sample " << i;
}

TEST(FfmpegReshaperTest, EachStretchOfAnotherRateKeepsItsLength)
{
    ffmpegReshaper reshaper(kStereo);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(reshaper.take(*frameOf(kFast, sine(kFast, 0.1))));
        ASSERT_TRUE(reshaper.take(*frameOf(kMono, sine(kMono, 0.1))));
    }
    ASSERT_TRUE(reshaper.finish());
    EXPECT_EQ(taken(reshaper, kStereo).size(), 2U * 6 * 4410);
}

}  // namespace
