#include "formats/ffmpeg/ffmpegReshaper.h"

#include "formats/eboFormatReader.h"

#include <algorithm>
#include <array>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
}

namespace {

constexpr int kLargestGift = 4096;  // frames

AVChannelLayout layoutOf(int channels)
{
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, channels);
    return layout;
}

/// One channel in all of several, and the mean of all in one: what a listener hears stays as loud.
void mixEvenly(SwrContext& resampler, int from, int to)
{
    constexpr std::size_t kMost = 64;
    std::array<double, kMost> matrix{};
    std::fill_n(matrix.begin(), std::max(from, to), 1.0 / from);
    swr_set_matrix(&resampler, matrix.data(), from);
}

}  // namespace

ffmpegReshaper::ffmpegReshaper(const ffmpegShape& target)
    : target_(target), fifo_(av_audio_fifo_alloc(target.format, target.channels, kLargestGift))
{
    if (fifo_ == nullptr)
        throw eboFormatReader::FileUnsupported("FFMPEG");
}

bool ffmpegReshaper::begin(const ffmpegShape& source)
{
    if (resampler_ != nullptr && !finish())
        return false;
    AVChannelLayout in = layoutOf(source.channels);
    AVChannelLayout out = layoutOf(target_.channels);
    SwrContext* resampler = nullptr;
    swr_alloc_set_opts2(&resampler, &out, target_.format, target_.sampleRate, &in, source.format,
                        source.sampleRate, 0, nullptr);
    resampler_.reset(resampler);
    if (resampler == nullptr)
        return false;
    if (source.channels != target_.channels && (source.channels == 1 || target_.channels == 1))
        mixEvenly(*resampler, source.channels, target_.channels);
    source_ = source;
    taken_ = made_ = 0;
    return swr_init(resampler) >= 0;
}

bool ffmpegReshaper::take(const AVFrame& frame)
{
    const ffmpegShape shape = ffmpegShape::of(frame);
    if ((resampler_ == nullptr || shape != source_) && !begin(shape)) {
        resampler_.reset();
        return false;
    }
    taken_ += frame.nb_samples;
    return convert(&frame);
}

bool ffmpegReshaper::finish()
{
    const bool works = resampler_ == nullptr || convert(nullptr);
    resampler_.reset();
    return works;
}

/// Puts what becomes of the frame, or of all that is held back, into the queue.
bool ffmpegReshaper::convert(const AVFrame* frame)
{
    const int input = frame != nullptr ? frame->nb_samples : 0;
    const int room = swr_get_out_samples(resampler_.get(), input);
    if (room <= 0)
        return room == 0;
    const ffmpeg::Frame result(av_frame_alloc());
    if (result == nullptr)
        return false;
    result->format = target_.format;
    result->sample_rate = target_.sampleRate;
    result->ch_layout = layoutOf(target_.channels);
    result->nb_samples = room;
    if (av_frame_get_buffer(result.get(), 0) < 0)
        return false;
    const auto* const* source =
        frame != nullptr ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
    const int made = swr_convert(resampler_.get(), result->extended_data, room,
                                 const_cast<const std::uint8_t**>(source), input);
    if (made < 0)
        return false;
    // A resampler's tail may be a frame longer than what it was given lasts.
    const std::int64_t owed = av_rescale(taken_, target_.sampleRate, source_.sampleRate) - made_;
    const int kept = static_cast<int>(std::min<std::int64_t>(made, std::max<std::int64_t>(owed, 0)));
    made_ += kept;
    return av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(result->extended_data), kept) == kept;
}

bool ffmpegReshaper::give(AVFrame& frame)
{
    const int count = std::min(av_audio_fifo_size(fifo_.get()), kLargestGift);
    av_frame_unref(&frame);
    if (count <= 0)
        return false;
    frame.format = target_.format;
    frame.sample_rate = target_.sampleRate;
    frame.ch_layout = layoutOf(target_.channels);
    frame.nb_samples = count;
    return av_frame_get_buffer(&frame, 0) >= 0 &&
           av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame.extended_data), count) == count;
}
