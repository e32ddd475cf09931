#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

/// Owners of the FFmpeg libraries' objects.
namespace ffmpeg {

template <auto freeByAddress>
struct Deleter {
    template <typename T>
    void operator()(T* object) const
    {
        freeByAddress(&object);
    }
};

using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;
using FormatContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, Deleter<swr_free>>;

}  // namespace ffmpeg
