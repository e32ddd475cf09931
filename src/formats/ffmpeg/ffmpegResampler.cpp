#include "formats/ffmpeg/ffmpegResampler.h"

#include "formats/eboFormatReader.h"

#include <array>

namespace {

constexpr std::size_t kMostPlanes = 8;
constexpr int kStereo = 2;

using Planes = std::array<const std::uint8_t*, kMostPlanes>;

Planes planesFrom(const AVFrame& decoded, std::int64_t first)
{
    const auto format = static_cast<AVSampleFormat>(decoded.format);
    const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
    const int channels = decoded.ch_layout.nb_channels;
    const std::int64_t bytesPerFrame =
        std::int64_t{av_get_bytes_per_sample(format)} * (isPlanar ? 1 : channels);
    Planes planes{};
    for (int plane = 0; plane < (isPlanar ? channels : 1); ++plane)
        planes[static_cast<std::size_t>(plane)] = decoded.extended_data[plane] + first * bytesPerFrame;
    return planes;
}

}  // namespace

ffmpegResampler::ffmpegResampler(int channels, int sampleRate, AVSampleFormat format, Output output)
    : output_(output)
{
    const bool isStereo = output == Output::PlanarStereo;
    AVChannelLayout source = {};
    AVChannelLayout target = {};
    av_channel_layout_default(&source, channels);
    av_channel_layout_default(&target, isStereo ? kStereo : channels);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &target, isStereo ? AV_SAMPLE_FMT_FLTP : AV_SAMPLE_FMT_FLT, sampleRate,
                        &source, format, sampleRate, 0, nullptr);
    context_.reset(context);
    if (context == nullptr || swr_init(context) < 0)
        throw eboFormatReader::FileUnsupported("FFMPEG");
}

bool ffmpegResampler::convert(const AVFrame& decoded, std::int64_t first, std::int64_t count,
                              float* const* targets)
{
    Planes source = planesFrom(decoded, first);
    std::array<std::uint8_t*, kStereo> target{};
    target[0] = reinterpret_cast<std::uint8_t*>(targets[0]);
    if (output_ == Output::PlanarStereo)
        target[1] = reinterpret_cast<std::uint8_t*>(targets[1]);
    const auto frames = static_cast<int>(count);
    return swr_convert(context_.get(), target.data(), frames, source.data(), frames) == frames;
}
