#include "formats/ffmpeg/ffmpegAudioStream.h"

#include "formats/eboFormatReader.h"
#include "formats/ffmpeg/ffmpegTime.h"
#include "formats/mixToMono.h"

#include <algorithm>
#include <array>
#include <utility>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace {

using FileUnsupported = eboFormatReader::FileUnsupported;

// Packets without a frame that are accepted before the first frame, and later in a row. The second bounds the
// time that a file of nothing but broken packets takes.
constexpr int kPacketsToFirstFrame = 100;
constexpr int kPacketsBetweenFrames = 10000;

// How many of the decoder's frames before the wanted one a seek begins. In an mp3 a frame's data may begin in
// one that is 511 bytes earlier, which at low bit rates are many frames.
constexpr int kPreRoll = 3;
constexpr int kMp3PreRoll = 24;

int skipCountOf(const AVPacket& packet)
{
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    return data != nullptr && size >= sizeof(std::uint32_t) ? static_cast<int>(AV_RL32(data)) : 0;
}

}  // namespace

ffmpegAudioStream::ffmpegAudioStream(std::unique_ptr<ffmpegInput> input, int streamIndex)
    : input_(std::move(input)), streamIndex_(streamIndex), stream_(input_->stream(streamIndex)),
      packet_(av_packet_alloc()), frame_(av_frame_alloc())
{
    if (packet_ == nullptr || frame_ == nullptr || stream_.time_base.num <= 0 || stream_.time_base.den <= 0)
        throw FileUnsupported("FFMPEG");
    openDecoder();
    decodeFirst();
}

void ffmpegAudioStream::openDecoder()
{
    const AVCodec* decoder = avcodec_find_decoder(stream_.codecpar->codec_id);
    if (decoder == nullptr)
        throw FileUnsupported("FFMPEG");
    codec_.reset(avcodec_alloc_context3(decoder));
    if (codec_ == nullptr || avcodec_parameters_to_context(codec_.get(), stream_.codecpar) < 0)
        throw FileUnsupported("FFMPEG");
    codec_->pkt_timebase = stream_.time_base;
    codec_->thread_count = 1;
    if (avcodec_open2(codec_.get(), decoder, nullptr) < 0)
        throw FileUnsupported("FFMPEG");
}

void ffmpegAudioStream::decodeFirst()
{
    if (!decodeNext(kPacketsToFirstFrame))
        throw FileUnsupported("FFMPEG");
    channels_ = frame_->ch_layout.nb_channels;
    sampleRate_ = frame_->sample_rate;
    format_ = static_cast<AVSampleFormat>(frame_->format);
    if (channels_ > kMostChannels || av_get_bytes_per_sample(format_) <= 0)
        throw FileUnsupported("FFMPEG");
    floatResampler_.emplace(channels_, sampleRate_, format_, ffmpegResampler::Output::Interleaved);
    startOffset_ = frame_->pts != AV_NOPTS_VALUE ? frameStart() : 0;
}

/// Decodes until a frame has come. False at the end of the data and on failures that are no packet's fault.
bool ffmpegAudioStream::decodeNext(int packetLimit)
{
    consumed_ = 0;
    for (int packets = 0; packets <= packetLimit;) {
        const int received = avcodec_receive_frame(codec_.get(), frame_.get());
        if (received == 0) {
            if (isExpectedShape())
                return true;
            continue;
        }
        // Any error but this one refuses the last packet, and the next may be better.
        if (received == AVERROR_EOF || received == AVERROR(ENOMEM))
            break;
        feed();
        ++packets;
    }
    av_frame_unref(frame_.get());
    return false;
}

/// Gives the decoder the next packet, or the end of the data after the last one.
void ffmpegAudioStream::feed()
{
    if (!input_->readPacket(streamIndex_, *packet_)) {
        avcodec_send_packet(codec_.get(), nullptr);
        return;
    }
    if (channels_ == 0 && skipCount_ == 0)
        skipCount_ = skipCountOf(*packet_);
    // A refusal shows at the next attempt to receive, as a want of more data.
    avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
}

bool ffmpegAudioStream::isExpectedShape() const
{
    if (frame_->nb_samples <= 0 || frame_->sample_rate <= 0 || frame_->ch_layout.nb_channels <= 0)
        return false;
    return channels_ == 0 || (frame_->ch_layout.nb_channels == channels_ &&
                              frame_->sample_rate == sampleRate_ && frame_->format == format_);
}

bool ffmpegAudioStream::stampsLeadToFrames() const
{
    const AVRational oneFrame = {1, sampleRate_};
    const bool isPcm =
        codec_->codec_id >= AV_CODEC_ID_FIRST_AUDIO && codec_->codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
    return av_cmp_q(stream_.time_base, oneFrame) <= 0 && (isPcm || !input_->seeksByByteRate());
}

std::int64_t ffmpegAudioStream::frameStart() const
{
    return ffmpeg::toFrames(frame_->pts, stream_.time_base, sampleRate_);
}

/// Takes the next frames by convert(first frame in the decoded block, frames, frames taken before), which
/// says whether it succeeded.
template <typename Convert>
std::int64_t ffmpegAudioStream::takeBy(std::int64_t frames, Convert convert)
{
    std::int64_t taken = 0;
    while (taken < frames) {
        if (available() == 0 && !decodeNext(kPacketsBetweenFrames))
            break;
        const std::int64_t count = std::min(frames - taken, available());
        if (!convert(consumed_, count, taken))
            break;
        consumed_ += count;
        taken += count;
    }
    return taken;
}

std::int64_t ffmpegAudioStream::take(float* target, std::int64_t frames)
{
    return takeBy(frames, [&](std::int64_t first, std::int64_t count, std::int64_t taken) {
        float* const plane = target + taken * channels_;
        return floatResampler_->convert(*frame_, first, count, &plane);
    });
}

std::int64_t ffmpegAudioStream::takePlanarStereo(float* const* targets, std::int64_t frames)
{
    if (!planarResampler_)
        planarResampler_.emplace(channels_, sampleRate_, format_, ffmpegResampler::Output::PlanarStereo);
    return takeBy(frames, [&](std::int64_t first, std::int64_t count, std::int64_t taken) {
        const std::array planes{targets[0] + taken, targets[1] + taken};
        return planarResampler_->convert(*frame_, first, count, planes.data());
    });
}

std::int64_t ffmpegAudioStream::takeMono(float* target, std::int64_t frames)
{
    return takeBy(frames, [&](std::int64_t first, std::int64_t count, std::int64_t taken) {
        const auto plane = [&](int channel) {
            return reinterpret_cast<const float*>(frame_->extended_data[channel]) + first;
        };
        const auto samples = static_cast<std::size_t>(count);
        if (channels_ == 1)
            mixToMono(plane(0), target + taken, samples, 1);
        else
            mixToMono(plane(0), plane(1), target + taken, samples);
        return true;
    });
}

std::int64_t ffmpegAudioStream::drop(std::int64_t frames)
{
    return takeBy(frames, [](auto...) { return true; });
}

ffmpegAudioStream::Seek ffmpegAudioStream::seek(std::int64_t frame)
{
    const int preRoll = codec_->codec_id == AV_CODEC_ID_MP3 ? kMp3PreRoll : kPreRoll;
    const std::int64_t from = frame - std::int64_t{preRoll} * codec_->frame_size;
    if (from <= 0 || !stampsLeadToFrames())
        return Seek::Unaligned;
    if (!input_->seek(streamIndex_, ffmpeg::toStamp(from + startOffset_, stream_.time_base, sampleRate_)))
        return Seek::Failed;
    avcodec_flush_buffers(codec_.get());
    while (decodeNext(kPacketsBetweenFrames)) {
        if (frame_->pts == AV_NOPTS_VALUE)
            return Seek::Unaligned;
        const std::int64_t start = frameStart() - startOffset_;
        if (start > frame)
            return Seek::Unaligned;
        if (frame < start + frame_->nb_samples) {
            consumed_ = frame - start;
            return Seek::Done;
        }
    }
    return Seek::Failed;
}
