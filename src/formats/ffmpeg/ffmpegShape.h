#pragma once

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

/// What all frames of a stream have in common: channels, rate in Hz and the form of their samples.
struct ffmpegShape {
    int channels = 0;
    int sampleRate = 0;
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;

    [[nodiscard]] static ffmpegShape of(const AVFrame& frame)
    {
        return {frame.ch_layout.nb_channels, frame.sample_rate, static_cast<AVSampleFormat>(frame.format)};
    }

    bool operator==(const ffmpegShape&) const = default;
};
