#include "formats/flac/flacStream.h"

#include "formats/eboFormatReader.h"
#include "formats/fixedPointToFloat.h"

#include <QDebug>

#include <algorithm>
#include <limits>

namespace {

using FileUnsupported = eboFormatReader::FileUnsupported;

constexpr std::uint64_t kUnknownFrame = std::numeric_limits<std::uint64_t>::max();

// So many are logged at one place.
constexpr std::size_t kMostErrors = 16;

// Below this there is no FLAC, and a single bit would have no scale.
constexpr std::uint32_t kFewestBits = FLAC__MIN_BITS_PER_SAMPLE;

// How much of the file's end is searched for the last block, and how much more each time there is none in it.
constexpr std::int64_t kFirstSearchBytes = std::int64_t{1} << 17U;
constexpr std::int64_t kSearchGrowth = 8;

float scaleOf(std::uint32_t bitsPerSample)
{
    return 1.0f / static_cast<float>((std::int64_t{1} << (bitsPerSample - 1)) - 1);
}

}  // namespace

/// What the library calls; the client is the stream.
struct flacStream::Callbacks {
    static FLAC__StreamDecoderReadStatus read(const FLAC__StreamDecoder* /*decoder*/, FLAC__byte* buffer,
                                              std::size_t* bytes, void* client)
    {
        const std::size_t wanted = *bytes;
        *bytes = 0;
        if (wanted == 0)
            return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
        DecoderFeed& feed = static_cast<flacStream*>(client)->feed_;
        if (feed.file().atEnd())
            return FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
        const std::int64_t count = feed.read(buffer, wanted);
        if (count < 0)
            return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
        *bytes = static_cast<std::size_t>(count);
        return *bytes == wanted || feed.file().atEnd() ? FLAC__STREAM_DECODER_READ_STATUS_CONTINUE
                                                       : FLAC__STREAM_DECODER_READ_STATUS_ABORT;
    }

    static FLAC__StreamDecoderSeekStatus seek(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64 offset,
                                              void* client)
    {
        return file(client).seek(static_cast<std::int64_t>(offset)) ? FLAC__STREAM_DECODER_SEEK_STATUS_OK
                                                                    : FLAC__STREAM_DECODER_SEEK_STATUS_ERROR;
    }

    static FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64* offset,
                                              void* client)
    {
        *offset = static_cast<FLAC__uint64>(file(client).pos());
        return FLAC__STREAM_DECODER_TELL_STATUS_OK;
    }

    static FLAC__StreamDecoderLengthStatus length(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64* bytes,
                                                  void* client)
    {
        *bytes = static_cast<FLAC__uint64>(file(client).size());
        return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
    }

    static FLAC__bool isAtEnd(const FLAC__StreamDecoder* /*decoder*/, void* client)
    {
        return file(client).atEnd() ? 1 : 0;
    }

    static FLAC__StreamDecoderWriteStatus write(const FLAC__StreamDecoder* /*decoder*/,
                                                const FLAC__Frame* frame, const FLAC__int32* const* planes,
                                                void* client)
    {
        static_cast<flacStream*>(client)->onBlock(frame->header, planes);
        return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
    }

    static void metadata(const FLAC__StreamDecoder* /*decoder*/, const FLAC__StreamMetadata* metadata,
                         void* client)
    {
        if (metadata->type == FLAC__METADATA_TYPE_STREAMINFO)
            static_cast<flacStream*>(client)->onStreamInfo(metadata->data.stream_info);
    }

    static void error(const FLAC__StreamDecoder* /*decoder*/, FLAC__StreamDecoderErrorStatus status,
                      void* client)
    {
        static_cast<flacStream*>(client)->onError(status);
    }

private:
    static eboFile& file(void* client) { return static_cast<flacStream*>(client)->feed_.file(); }
};

flacStream::flacStream(eboFile& file, Container container) : feed_(file), decoder_(FLAC__stream_decoder_new())
{
    if (decoder_ == nullptr || !file.seek(0))
        throw FileUnsupported("FLAC");
    FLAC__StreamDecoder* const decoder = decoder_.get();
    FLAC__stream_decoder_set_md5_checking(decoder, 1);
    FLAC__stream_decoder_set_metadata_ignore_all(decoder);
    FLAC__stream_decoder_set_metadata_respond(decoder, FLAC__METADATA_TYPE_STREAMINFO);
    const auto init = container == Container::Ogg ? &FLAC__stream_decoder_init_ogg_stream
                                                  : &FLAC__stream_decoder_init_stream;
    if (init(decoder, &Callbacks::read, &Callbacks::seek, &Callbacks::tell, &Callbacks::length,
             &Callbacks::isAtEnd, &Callbacks::write, &Callbacks::metadata, &Callbacks::error,
             this) != FLAC__STREAM_DECODER_INIT_STATUS_OK)
        throw FileUnsupported("FLAC");
    // Where something else than FLAC is taken for it, the library reports success but has no stream info.
    if (FLAC__stream_decoder_process_until_end_of_metadata(decoder) == 0 || !hasStreamInfo_)
        throw FileUnsupported("FLAC");
}

void flacStream::onStreamInfo(const FLAC__StreamMetadata_StreamInfo& info)
{
    hasStreamInfo_ = info.sample_rate > 0 && info.channels > 0 && info.bits_per_sample >= kFewestBits;
    channels_ = info.channels;
    sampleRate_ = info.sample_rate;
    statedFrames_ = info.total_samples;
}

void flacStream::onError(FLAC__StreamDecoderErrorStatus status)
{
    if (errors_.size() < kMostErrors && !isSearchingEnd_)  // which begins in the middle of a block
        errors_.push_back(status);
}

void flacStream::onBlock(const FLAC__FrameHeader& header, const FLAC__int32* const* planes)
{
    for (const FLAC__StreamDecoderErrorStatus status : errors_)
        qWarning() << "Error during FLAC decoding:" << static_cast<int>(status);
    errors_.clear();
    if (header.channels != channels_)
        qWarning() << "Broken frame, channels:" << header.channels << ", but should be:" << channels_;
    const std::uint64_t first = header.number.sample_number;
    if (first > nextFrame_) {
        backlog_.addSilence(first - nextFrame_);
        backlog_.moveTo(target_, channels_);
    }

    const float scale = scaleOf(header.bits_per_sample);
    const std::uint64_t wanted = std::min<std::uint64_t>(header.blocksize, target_.framesLeft());
    const FrameTarget::Room room = target_.put(wanted, header.channels);
    interleaveScaled(planes, header.channels, 0, room.frames, scale, room.samples);
    if (wanted < header.blocksize)
        backlog_.keep(planes, header.channels, wanted, header.blocksize - wanted, scale);
    nextFrame_ = first + header.blocksize;
}

std::uint64_t flacStream::read(float* target, std::uint64_t firstFrame, std::uint64_t frames)
{
    target_ = FrameTarget(target, frames, channels_);
    bool works = goTo(firstFrame);
    backlog_.moveTo(target_, channels_);
    while (works && target_.framesLeft() > 0) {
        const std::uint64_t before = target_.framesLeft();
        works = decodeMore();
        if (target_.framesLeft() == before)
            break;
    }
    target_.finish();
    const std::uint64_t delivered = works ? frames - target_.framesLeft() : 0;
    target_ = FrameTarget();
    return delivered;
}

bool flacStream::goTo(std::uint64_t frame)
{
    const std::uint64_t position = nextFrame_ - backlog_.frames();
    if (frame >= position && frame <= nextFrame_) {
        backlog_.drop(frame - position);
        return true;
    }
    backlog_.clear();
    errors_.clear();
    nextFrame_ = frame;
    feed_.renew();
    if (FLAC__stream_decoder_seek_absolute(decoder_.get(), frame) != 0)
        return true;
    loseTrack();
    return false;
}

/// Decodes the next block, if there is one. False after a failure.
bool flacStream::decodeMore()
{
    feed_.renew();
    const bool works = FLAC__stream_decoder_process_single(decoder_.get()) != 0;
    if (FLAC__stream_decoder_get_state(decoder_.get()) == FLAC__STREAM_DECODER_END_OF_STREAM) {
        errors_.clear();
        return true;  // also where the library fails because the data end within a block
    }
    if (!works)
        loseTrack();
    return works;
}

/// Makes the decoder fit for use again after a failure. Where it stands is not known.
void flacStream::loseTrack()
{
    FLAC__stream_decoder_flush(decoder_.get());
    backlog_.clear();
    errors_.clear();
    nextFrame_ = kUnknownFrame;
}

std::uint64_t flacStream::findEnd()
{
    isSearchingEnd_ = true;
    const std::int64_t size = feed_.file().size();
    for (std::int64_t bytes = kFirstSearchBytes;; bytes *= kSearchGrowth) {
        nextFrame_ = 0;
        if (!decodeEnd(std::min(bytes, size)) || nextFrame_ > 0 || bytes >= size)
            return nextFrame_ != kUnknownFrame ? nextFrame_ : 0;
    }
}

/// Decodes the file's last bytes. False after a failure.
bool flacStream::decodeEnd(std::int64_t bytes)
{
    if (!feed_.file().seek(feed_.file().size() - bytes) || FLAC__stream_decoder_flush(decoder_.get()) == 0)
        return false;
    while (FLAC__stream_decoder_get_state(decoder_.get()) != FLAC__STREAM_DECODER_END_OF_STREAM) {
        backlog_.clear();
        if (!decodeMore())
            return false;
    }
    return true;
}
