#include "formats/ffmpeg/ffmpegInput.h"

#include "formats/eboFormatReader.h"
#include "formats/ffmpeg/ffmpegTime.h"

#include <limits>

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/opt.h>
}

namespace {

using FileUnsupported = eboFormatReader::FileUnsupported;

// The containers in which music comes, under whatever name. Playlists and scripts, which name other files,
// are not among them, nor are the hundreds of formats that no player writes.
constexpr const char* kContainers =
    "mp3,aac,loas,mov,aiff,wav,w64,caf,flac,ogg,matroska,asf,avi,mpegts,ac3,au";

constexpr const char* kByteRateContainers = "wav,w64,aiff,au";

// No protocol has this name: nothing can be opened by address.
constexpr const char* kNoProtocol = "none";

constexpr int kMostStreams = 64;

// In PCM the libraries look for compressed sound that poses as it, by default through megabytes, and for time
// stamps, which PCM does not have. That takes time and, from a remote file, hundreds of requests; what there
// is shows in the first packets: eight hold more frames of such sound than it takes to tell.
constexpr int kMostProbePackets = 8;
constexpr int kMostPacketsForStamps = 4;

int refuseToOpen(AVFormatContext* /*format*/, AVIOContext** /*io*/, const char* /*url*/, int /*flags*/,
                 AVDictionary** /*options*/)
{
    return AVERROR(EACCES);
}

/// Pictures and films are never looked at; this keeps the libraries from decoding them to learn their size.
void ignoreAllButAudio(AVFormatContext& format)
{
    for (unsigned int i = 0; i < format.nb_streams; ++i) {
        AVStream& stream = *format.streams[i];
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            continue;
        stream.codecpar->codec_type = AVMEDIA_TYPE_DATA;
        stream.codecpar->codec_id = AV_CODEC_ID_NONE;
        stream.discard = AVDISCARD_ALL;
    }
}

/// The samples that lie so many bytes apart: PCM says how many bits of each mean something, too, and
/// libavformat chooses the decoder by those. 24 bits of 32 pass for packed 24, or for an old editor's kind of
/// float, which has the same numbers in its head, but no speakers.
AVCodecID wholeNumbersOf(const AVCodecParameters& parameters, int bytes)
{
    const bool hasSpeakers = parameters.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
    switch (parameters.codec_id) {
    case AV_CODEC_ID_PCM_S16LE:
        return bytes == 3 ? AV_CODEC_ID_PCM_S24LE : bytes == 4 ? AV_CODEC_ID_PCM_S32LE : AV_CODEC_ID_NONE;
    case AV_CODEC_ID_PCM_S24LE:
        return bytes == 4 ? AV_CODEC_ID_PCM_S32LE : AV_CODEC_ID_NONE;
    case AV_CODEC_ID_PCM_F16LE:
    case AV_CODEC_ID_PCM_F24LE:
        return hasSpeakers ? AV_CODEC_ID_PCM_S32LE : AV_CODEC_ID_NONE;
    default:
        return AV_CODEC_ID_NONE;
    }
}

/// Samples lie as far apart as their blocks say.
void goByContainerBits(AVStream& stream)
{
    AVCodecParameters& parameters = *stream.codecpar;
    const int channels = parameters.ch_layout.nb_channels;
    const int bytes = parameters.block_align / channels;
    const AVCodecID codec =
        parameters.block_align % channels == 0 ? wholeNumbersOf(parameters, bytes) : AV_CODEC_ID_NONE;
    if (codec == AV_CODEC_ID_NONE)
        return;
    parameters.codec_id = codec;
    parameters.bits_per_coded_sample = bytes * 8;
    stream.duration = AV_NOPTS_VALUE;  // which went by the other size
}

/// Places in PCM are found by its byte rate, which some headers state wrongly; blocks and rate cannot lie.
void goByBlockSize(AVStream& stream)
{
    AVCodecParameters& parameters = *stream.codecpar;
    parameters.bit_rate = std::int64_t{parameters.block_align} * 8 * parameters.sample_rate;
}

bool isPcm(const AVCodecParameters& parameters)
{
    return parameters.codec_id >= AV_CODEC_ID_FIRST_AUDIO && parameters.codec_id < AV_CODEC_ID_ADPCM_IMA_QT;
}

template <typename Change>
void forEachPcm(AVFormatContext& format, Change change)
{
    for (unsigned int i = 0; i < format.nb_streams; ++i) {
        const AVCodecParameters& parameters = *format.streams[i]->codecpar;
        if (isPcm(parameters) && parameters.block_align > 0 && parameters.ch_layout.nb_channels > 0)
            change(*format.streams[i]);
    }
}

}  // namespace

ffmpegInput::ffmpegInput(DecoderFeed& feed) : feed_(feed), io_(feed)
{
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr)
        throw FileUnsupported("FFMPEG");
    format->pb = io_.context();
    format->io_open = &refuseToOpen;
    format->max_streams = kMostStreams;
    format->max_probe_packets = kMostProbePackets;
    format->max_ts_probe = kMostPacketsForStamps;
    av_opt_set(format, "format_whitelist", kContainers, 0);
    av_opt_set(format, "protocol_whitelist", kNoProtocol, 0);
    const int opened = avformat_open_input(&format, nullptr, nullptr, nullptr);  // frees it on failure
    format_.reset(format);
    if (opened < 0)
        throw FileUnsupported("FFMPEG");
    ignoreAllButAudio(*format_);
    forEachPcm(*format_, &goByContainerBits);
    if (avformat_find_stream_info(format_.get(), nullptr) < 0)
        throw FileUnsupported("FFMPEG");
    forEachPcm(*format_, &goByBlockSize);
}

std::vector<int> ffmpegInput::audioStreams() const
{
    std::vector<int> indices;
    for (unsigned int i = 0; i < format_->nb_streams; ++i) {
        if (format_->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            indices.push_back(static_cast<int>(i));
    }
    return indices;
}

std::int64_t ffmpegInput::statedFrames(int streamIndex, int sampleRate) const
{
    const AVStream& source = stream(streamIndex);
    // A duration by bit rate is a guess, and may be off by a factor of two.
    if (format_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE || source.duration <= 0 ||
        source.time_base.den <= 0)
        return 0;
    const float frames = static_cast<float>(source.time_base.num) / static_cast<float>(source.time_base.den) *
                         static_cast<float>(sampleRate) * static_cast<float>(source.duration);
    if (!(frames >= 1.0f))
        return 0;
    return frames < static_cast<float>(ffmpeg::kFarthestFrame) ? static_cast<std::int64_t>(frames)
                                                               : ffmpeg::kFarthestFrame;
}

bool ffmpegInput::isContainer(const char* name) const
{
    return av_match_name(name, format_->iformat->name) != 0;
}

bool ffmpegInput::seeksByByteRate() const
{
    return av_match_name(format_->iformat->name, kByteRateContainers) != 0;
}

bool ffmpegInput::readPacket(int streamIndex, AVPacket& packet)
{
    for (;;) {
        const int result = av_read_frame(format_.get(), &packet);
        if (result < 0) {
            lacksMemory_ = lacksMemory_ || result == AVERROR(ENOMEM);
            return false;
        }
        if (packet.stream_index == streamIndex)
            return true;
        av_packet_unref(&packet);
    }
}

bool ffmpegInput::seek(int streamIndex, std::int64_t stamp)
{
    return avformat_seek_file(format_.get(), streamIndex, std::numeric_limits<std::int64_t>::min(), stamp,
                              stamp, AVSEEK_FLAG_ANY | AVSEEK_FLAG_FRAME) >= 0;
}
