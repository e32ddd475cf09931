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

bool isMpeg(AVCodecID codec)
{
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP3;
}

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
    shape_.channels = stream_.codecpar->ch_layout.nb_channels;
    shape_.sampleRate = stream_.codecpar->sample_rate;
    if (decodeNext(kPacketsToFirstFrame) != Step::kBlock)
        throw FileUnsupported("FFMPEG");
    isFirstWaiting_ = true;
    floatResampler_.emplace(shape_.channels, shape_.sampleRate, shape_.format,
                            ffmpegResampler::Output::Interleaved);
}

ffmpegAudioStream::Step ffmpegAudioStream::next()
{
    if (std::exchange(isFirstWaiting_, false))
        return Step::kBlock;
    return decodeNext(kPacketsBetweenFrames);
}

/// Decodes until a frame has come.
ffmpegAudioStream::Step ffmpegAudioStream::decodeNext(int packetLimit)
{
    for (int packets = 0; packets <= packetLimit;) {
        if (reshaper_ && reshaper_->give(*frame_))
            return Step::kBlock;
        const int received = avcodec_receive_frame(codec_.get(), frame_.get());
        if (received == 0) {
            // The decoder of mp3 labels a frame with the rate of the one before.
            if (isMpeg(codec_->codec_id))
                frame_->sample_rate = codec_->sample_rate;
            if (!isUsable())
                continue;
            if (!reshaper_ && ffmpegShape::of(*frame_) == shape_)
                return Step::kBlock;
            if (!reshaper_)
                reshaper_.emplace(shape_);
            countsAlone_ = true;
            if (!reshaper_->take(*frame_))
                return Step::kFailed;
            continue;
        }
        if (received == AVERROR(ENOMEM))
            return Step::kFailed;
        if (received == AVERROR_EOF) {
            if (reshaper_ && (!reshaper_->finish() || reshaper_->give(*frame_)))
                return frame_->nb_samples > 0 ? Step::kBlock : Step::kFailed;
            break;
        }
        // Any other error refuses the last packet, and the next may be better.
        feed();
        ++packets;
    }
    av_frame_unref(frame_.get());
    return input_->hasFailed() ? Step::kFailed : Step::kEnd;
}

/// Gives the decoder the next packet, or the end of the data after the last one.
void ffmpegAudioStream::feed()
{
    if (!input_->readPacket(streamIndex_, *packet_)) {
        avcodec_send_packet(codec_.get(), nullptr);
        return;
    }
    if (!std::exchange(hasPacket_, true)) {
        firstByte_ = packet_->pos;
        if (packet_->pts != AV_NOPTS_VALUE)
            firstStamp_ = ffmpeg::toFrames(packet_->pts, stream_.time_base, stream_.codecpar->sample_rate);
    }
    if (shape_.format == AV_SAMPLE_FMT_NONE && skipCount_ == 0)
        skipCount_ = skipCountOf(*packet_);
    // A refusal shows at the next attempt to receive, as a want of more data.
    avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
}

/// Whether the frame holds anything. The first that does settles what was not found before.
bool ffmpegAudioStream::isUsable()
{
    const ffmpegShape shape = ffmpegShape::of(*frame_);
    if (frame_->nb_samples <= 0 || shape.sampleRate <= 0 || shape.channels <= 0)
        return false;
    if (shape_.format == AV_SAMPLE_FMT_NONE) {
        shape_.format = shape.format;
        shape_.channels = shape_.channels > 0 ? shape_.channels : shape.channels;
        shape_.sampleRate = shape_.sampleRate > 0 ? shape_.sampleRate : shape.sampleRate;
        if (shape_.channels > kMostChannels || av_get_bytes_per_sample(shape_.format) <= 0)
            throw FileUnsupported("FFMPEG");
        startOffset_ = frame_->pts != AV_NOPTS_VALUE ? frameStart() : 0;
    }
    return true;
}

int ffmpegAudioStream::pcmFrameBytes() const { return isPcm() ? stream_.codecpar->block_align : 0; }

bool ffmpegAudioStream::isPcm() const
{
    return codec_->codec_id >= AV_CODEC_ID_FIRST_AUDIO && codec_->codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
}

std::int64_t ffmpegAudioStream::statedPriming() const
{
    // A stream that starts later in its container's time starts with sound: only what lies before the first
    // frame and behind the container's zero is dropped.
    return firstStamp_.value_or(0) <= 0 ? startOffset_ : 0;
}

std::int64_t ffmpegAudioStream::statedFrames() const
{
    const std::int64_t stated = input_->statedFrames(streamIndex_, shape_.sampleRate);
    return stated > 0 ? std::max(stated - statedPriming(), std::int64_t{0}) : 0;
}

bool ffmpegAudioStream::stampsLeadToFrames() const
{
    const AVRational oneFrame = {1, shape_.sampleRate};
    return !countsAlone_ && av_cmp_q(stream_.time_base, oneFrame) <= 0 &&
           (isPcm() || !input_->seeksByByteRate());
}

std::int64_t ffmpegAudioStream::frameStart() const
{
    return ffmpeg::toFrames(frame_->pts, stream_.time_base, shape_.sampleRate);
}

std::int64_t ffmpegAudioStream::blockStart() const
{
    // Frames before the first have negative numbers, and the one that is none.
    if (frame_->pts == AV_NOPTS_VALUE)
        return kUnknownFrame;
    const std::int64_t start = frameStart() - startOffset_;
    return start >= 0 ? start : kUnknownFrame;
}

ffmpegAudioStream::Arrival ffmpegAudioStream::goTo(std::int64_t frame)
{
    isFirstWaiting_ = false;
    const int preRoll = codec_->codec_id == AV_CODEC_ID_MP3 ? kMp3PreRoll : kPreRoll;
    const std::int64_t from = frame - std::int64_t{preRoll} * codec_->frame_size;
    if (from <= 0 || !stampsLeadToFrames())
        return Arrival::kUnknown;
    if (!input_->seek(streamIndex_,
                      ffmpeg::toStamp(from + startOffset_, stream_.time_base, shape_.sampleRate)))
        return Arrival::kNowhere;
    avcodec_flush_buffers(codec_.get());
    return Arrival::kNotBehind;
}

bool ffmpegAudioStream::interleave(std::int64_t first, std::int64_t count, FrameTarget& target)
{
    const FrameTarget::Room room =
        target.put(static_cast<std::uint64_t>(count), static_cast<std::size_t>(shape_.channels));
    return floatResampler_->convert(*frame_, first, count, &room.samples);
}

bool ffmpegAudioStream::planarStereo(std::int64_t first, std::int64_t count, float* const* targets)
{
    if (!planarResampler_)
        planarResampler_.emplace(shape_.channels, shape_.sampleRate, shape_.format,
                                 ffmpegResampler::Output::PlanarStereo);
    return planarResampler_->convert(*frame_, first, count, targets);
}

void ffmpegAudioStream::mono(std::int64_t first, std::int64_t count, float* target) const
{
    const auto plane = [&](int channel) {
        return reinterpret_cast<const float*>(frame_->extended_data[channel]) + first;
    };
    const auto samples = static_cast<std::size_t>(count);
    if (shape_.channels == 1)
        mixToMono(plane(0), target, samples, 1);
    else
        mixToMono(plane(0), plane(1), target, samples);
}
