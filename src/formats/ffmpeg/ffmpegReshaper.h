#pragma once

#include "formats/ffmpeg/ffmpegHandles.h"
#include "formats/ffmpeg/ffmpegShape.h"

#include <cstdint>
#include <memory>

extern "C" {
#include <libavutil/audio_fifo.h>
}

/// Brings frames of any shape to that of their stream: other numbers of channels are mixed, other rates
/// resampled. Takes a stream's frames in order, gives the result in order, and loses nothing: of each stretch
/// of one rate come as many frames as last as long. One thread at a time.
class ffmpegReshaper {
public:
    /// @throws eboFormatReader::FileUnsupported if there is no memory
    explicit ffmpegReshaper(const ffmpegShape& target);

    /// @return false if the frame's shape cannot be brought to the target's, or there is no memory
    [[nodiscard]] bool take(const AVFrame& frame);

    /// There is nothing more to take: what is held back can be given.
    [[nodiscard]] bool finish();

    /// Moves frames into `frame`, without a time stamp. False if there are none, or there is no memory.
    [[nodiscard]] bool give(AVFrame& frame);

private:
    struct FreeFifo {
        void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    };

    bool begin(const ffmpegShape& source);
    bool convert(const AVFrame* frame);

    const ffmpegShape target_;
    const std::unique_ptr<AVAudioFifo, FreeFifo> fifo_;
    ffmpeg::Resampler resampler_;  ///< For frames of the shape source_; null before the first.
    ffmpegShape source_;
    std::int64_t taken_ = 0;  ///< Frames of this shape so far, at their own rate.
    std::int64_t made_ = 0;   ///< What came of them.
};
