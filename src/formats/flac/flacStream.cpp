#include "formats/flac/flacStream.h"

#include "formats/eboFormatReader.h"
#include "formats/fixedPointToFloat.h"
#include "formats/readAt.h"
#include "formats/trailingTags.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace {

using FileUnsupported = eboFormatReader::FileUnsupported;

// So many are logged at one place.
constexpr std::size_t kMostErrors = 16;

// Below this there is no FLAC, and a single bit would have no scale.
constexpr std::uint32_t kFewestBits = FLAC__MIN_BITS_PER_SAMPLE;

// How much of the file's end is searched for the last block: two of the largest, as far as the head tells
// their size, and how much more each time there is none in it.
constexpr std::int64_t kLeastSearchBytes = std::int64_t{1} << 14U;
constexpr std::int64_t kBlindSearchBytes = std::int64_t{1} << 17U;
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
        DecoderFeed& feed = feedOf(client);
        if (feed.atEnd())
            return FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
        const std::int64_t count = feed.read(buffer, wanted);
        if (count < 0)
            return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
        *bytes = static_cast<std::size_t>(count);
        return *bytes == wanted || feed.atEnd() ? FLAC__STREAM_DECODER_READ_STATUS_CONTINUE
                                                : FLAC__STREAM_DECODER_READ_STATUS_ABORT;
    }

    static FLAC__StreamDecoderSeekStatus seek(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64 offset,
                                              void* client)
    {
        return feedOf(client).seek(static_cast<std::int64_t>(offset))
                   ? FLAC__STREAM_DECODER_SEEK_STATUS_OK
                   : FLAC__STREAM_DECODER_SEEK_STATUS_ERROR;
    }

    static FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64* offset,
                                              void* client)
    {
        *offset = static_cast<FLAC__uint64>(feedOf(client).pos());
        return FLAC__STREAM_DECODER_TELL_STATUS_OK;
    }

    static FLAC__StreamDecoderLengthStatus length(const FLAC__StreamDecoder* /*decoder*/, FLAC__uint64* bytes,
                                                  void* client)
    {
        *bytes = static_cast<FLAC__uint64>(feedOf(client).size());
        return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
    }

    static FLAC__bool isAtEnd(const FLAC__StreamDecoder* /*decoder*/, void* client)
    {
        return feedOf(client).atEnd() ? 1 : 0;
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
    static DecoderFeed& feedOf(void* client) { return static_cast<flacStream*>(client)->feed_; }
};

flacStream::flacStream(DecoderFeed& feed, Container container, bool comparesDigest)
    : feed_(feed), container_(container), decoder_(FLAC__stream_decoder_new())
{
    // The library passes over one tag in front, some files have two.
    const std::int64_t start = container == Container::kNative ? leadingTagBytes(feed) : 0;
    if (decoder_ == nullptr || !feed.seek(start))
        throw FileUnsupported("FLAC");
    FLAC__StreamDecoder* const decoder = decoder_.get();
    FLAC__stream_decoder_set_md5_checking(decoder, comparesDigest ? 1 : 0);
    FLAC__stream_decoder_set_metadata_ignore_all(decoder);
    FLAC__stream_decoder_set_metadata_respond(decoder, FLAC__METADATA_TYPE_STREAMINFO);
    const auto init = container == Container::kOgg ? &FLAC__stream_decoder_init_ogg_stream
                                                   : &FLAC__stream_decoder_init_stream;
    if (init(decoder, &Callbacks::read, &Callbacks::seek, &Callbacks::tell, &Callbacks::length,
             &Callbacks::isAtEnd, &Callbacks::write, &Callbacks::metadata, &Callbacks::error,
             this) != FLAC__STREAM_DECODER_INIT_STATUS_OK)
        throw FileUnsupported("FLAC");
    readHead();
}

flacStream::~flacStream() = default;

/// Reads one block of metadata after the other: each may be as large as the feed allows, not all together.
void flacStream::readHead()
{
    while (FLAC__stream_decoder_get_state(decoder_.get()) < FLAC__STREAM_DECODER_SEARCH_FOR_FRAME_SYNC) {
        feed_.renew();
        if (FLAC__stream_decoder_process_single(decoder_.get()) == 0)
            throw FileUnsupported("FLAC");
    }
    // Where something else than FLAC is taken for it, the library reports success but has no stream info.
    if (!hasStreamInfo_)
        throw FileUnsupported("FLAC");
}

void flacStream::onStreamInfo(const FLAC__StreamMetadata_StreamInfo& info)
{
    hasStreamInfo_ = info.sample_rate > 0 && info.channels > 0 && info.bits_per_sample >= kFewestBits;
    channels_ = info.channels;
    sampleRate_ = info.sample_rate;
    statedFrames_ = info.total_samples;
    largestBlockBytes_ = info.max_framesize;
    largestBlockFrames_ = info.max_blocksize;
    hasDigest_ =
        std::any_of(std::begin(info.md5sum), std::end(info.md5sum), [](FLAC__byte b) { return b != 0; });
}

void flacStream::onError(FLAC__StreamDecoderErrorStatus status)
{
    if (errors_.size() < kMostErrors && !isSearchingEnd_)  // which begins in the middle of a block
        errors_.push_back(status);
}

void flacStream::onBlock(const FLAC__FrameHeader& header, const FLAC__int32* const* planes)
{
    const std::uint64_t number = header.number.sample_number;
    const std::uint64_t before = std::exchange(nextNumber_, number + header.blocksize).value_or(number);
    if (isSearchingEnd_)
        return;
    hasWrongNumbers_ =
        hasWrongNumbers_ || (largestBlockFrames_ > 0 && header.blocksize > largestBlockFrames_);
    for (const FLAC__StreamDecoderErrorStatus status : errors_)
        qWarning() << "Error during FLAC decoding:" << static_cast<int>(status);
    errors_.clear();
    if (header.channels != channels_)
        qWarning() << "Broken frame, channels:" << header.channels << ", but should be:" << channels_;
    if (!origin_)
        origin_ = number;
    // The library gives several blocks at once only to fill a gap with zeros.
    silentFrames_ += soundFrames_;
    if (number > before)
        silentFrames_ += number - before;

    const std::size_t size = std::size_t{header.blocksize} * header.channels;
    if (samples_.size() < size)
        samples_.resize(size);
    interleaveScaled(planes, header.channels, 0, header.blocksize, scaleOf(header.bits_per_sample),
                     samples_.data());
    soundFrames_ = header.blocksize;
    soundNumber_ = number;
    soundChannels_ = header.channels;
    given_ = Given::kNothing;
}

flacStream::Step flacStream::next()
{
    if (given_ == Given::kAll) {
        const Step step = decode();
        if (step != Step::kBlock)
            return step;
    }
    given_ = given_ == Given::kNothing && silentFrames_ > 0 ? Given::kSilence : Given::kAll;
    return Step::kBlock;
}

std::int64_t flacStream::blockFrames() const
{
    return static_cast<std::int64_t>(given_ == Given::kSilence ? silentFrames_ : soundFrames_);
}

std::int64_t flacStream::blockStart() const
{
    const auto start = static_cast<std::int64_t>(soundNumber_ - *origin_);
    return given_ == Given::kSilence ? start - static_cast<std::int64_t>(silentFrames_) : start;
}

bool flacStream::interleave(std::int64_t first, std::int64_t count, FrameTarget& target)
{
    const auto frames = static_cast<std::uint64_t>(count);
    if (given_ == Given::kSilence) {
        const FrameTarget::Room room = target.put(frames, channels_);
        std::fill_n(room.samples, room.frames * channels_, 0.0f);
        return true;
    }
    const FrameTarget::Room room = target.put(frames, soundChannels_);
    std::copy_n(samples_.data() + static_cast<std::size_t>(first) * soundChannels_,
                room.frames * soundChannels_, room.samples);
    return true;
}

/// Decodes the next block, if there is one.
flacStream::Step flacStream::decode()
{
    forgetBlocks();
    feed_.renew();
    const bool works = FLAC__stream_decoder_process_single(decoder_.get()) != 0;
    if (given_ == Given::kNothing)
        return Step::kBlock;
    // Between blocks the library reports success even where the file has failed.
    const FLAC__StreamDecoderState state = FLAC__stream_decoder_get_state(decoder_.get());
    if (state == FLAC__STREAM_DECODER_END_OF_STREAM ||
        (works && state < FLAC__STREAM_DECODER_END_OF_STREAM)) {
        errors_.clear();
        return Step::kEnd;  // also where the library fails because the data end within a block
    }
    loseTrack();
    return Step::kFailed;
}

void flacStream::forgetBlocks()
{
    silentFrames_ = soundFrames_ = 0;
    given_ = Given::kAll;
}

/// Makes the decoder fit for use again after a failure. Where it stands is not known.
void flacStream::loseTrack()
{
    FLAC__stream_decoder_flush(decoder_.get());
    forgetBlocks();
    errors_.clear();
    nextNumber_.reset();
}

flacStream::Arrival flacStream::goTo(std::int64_t frame)
{
    if (!origin_)
        (void)decode();  // which tells the origin, if anything does
    if (hasWrongNumbers_)
        return Arrival::kUnknown;
    const std::uint64_t number = origin_.value_or(0) + static_cast<std::uint64_t>(frame);
    forgetBlocks();
    errors_.clear();
    hasSought_ = true;
    nextNumber_ = number;
    feed_.renew();
    if (FLAC__stream_decoder_seek_absolute(decoder_.get(), number) != 0)
        return Arrival::kNotBehind;
    loseTrack();
    // The library refuses to go beyond the length that the head states, which may be wrong.
    const bool isBeyondStated = statedFrames_ > 0 && number >= statedFrames_;
    return isBeyondStated ? Arrival::kUnknown : Arrival::kNowhere;
}

std::optional<flacStream::End> flacStream::findEnd()
{
    if (decode() == Step::kFailed)
        return {};
    if (hasWrongNumbers_)
        return countToEnd();
    isSearchingEnd_ = true;
    const std::int64_t size = feed_.size();
    const std::int64_t first = largestBlockBytes_ > 0
                                   ? std::max(kLeastSearchBytes, 2 * std::int64_t{largestBlockBytes_})
                                   : kBlindSearchBytes;
    for (std::int64_t bytes = first;; bytes *= kSearchGrowth) {
        nextNumber_.reset();
        lastBlockEnd_ = -1;
        if (!findLastBlockIn(std::min(bytes, size)))
            return {};
        if (nextNumber_ || bytes >= size)
            break;
    }
    if (!nextNumber_)
        return End{};
    const std::uint64_t origin = origin_.value_or(0);
    return End{*nextNumber_ > origin ? *nextNumber_ - origin : 0, isCutOff()};
}

/// Adds up all blocks, from the one at hand.
std::optional<flacStream::End> flacStream::countToEnd()
{
    std::uint64_t frames = 0;
    for (Step step = Step::kBlock; step == Step::kBlock; step = decode())
        frames += silentFrames_ + soundFrames_;
    return feed_.hasFailed() ? std::nullopt : std::optional(End{frames});
}

/// Decodes the file's last bytes. False after a failure.
bool flacStream::findLastBlockIn(std::int64_t bytes)
{
    FLAC__StreamDecoder* const decoder = decoder_.get();
    if (!feed_.seek(feed_.size() - bytes) || FLAC__stream_decoder_flush(decoder) == 0)
        return false;
    for (;;) {
        const FLAC__StreamDecoderState state = FLAC__stream_decoder_get_state(decoder);
        if (state == FLAC__STREAM_DECODER_END_OF_STREAM)
            break;
        if (state > FLAC__STREAM_DECODER_END_OF_STREAM)
            return false;  // it would report success for ever
        feed_.renew();
        const auto before = nextNumber_;
        if (FLAC__stream_decoder_process_single(decoder) == 0 &&
            FLAC__stream_decoder_get_state(decoder) != FLAC__STREAM_DECODER_END_OF_STREAM)
            return false;
        FLAC__uint64 position = 0;
        if (nextNumber_ != before && FLAC__stream_decoder_get_decode_position(decoder, &position) != 0)
            lastBlockEnd_ = static_cast<std::int64_t>(position);
    }
    return !feed_.hasFailed();
}

/// Whether the stream breaks off in the middle, after findLastBlockIn has found its last whole block.
bool flacStream::isCutOff()
{
    if (container_ == Container::kNative) {
        // The first bits of a block: what else may stand there begins with letters or zeros.
        std::array<std::uint8_t, 2> mark{};
        const std::int64_t count =
            lastBlockEnd_ >= 0 ? readUpTo(feed_, lastBlockEnd_, std::as_writable_bytes(std::span(mark))) : 0;
        return count > 0 && mark[0] == 0xFF && (count == 1 || (mark[1] & 0xFEU) == 0xF8);
    }
    // The last page that begins says whether it is the last of its stream.
    constexpr std::int64_t kLargestPage = 65307;
    constexpr std::size_t kFlagsAt = 5;
    constexpr unsigned kIsLast = 4;
    std::vector<char> tail(static_cast<std::size_t>(std::min(feed_.size(), kLargestPage)));
    if (!readAt(feed_, feed_.size() - static_cast<std::int64_t>(tail.size()), tail))
        return false;
    const std::string_view text(tail.data(), tail.size());
    const std::size_t page = text.rfind("OggS");
    return page == std::string_view::npos || page + kFlagsAt >= text.size() ||
           (static_cast<unsigned char>(text[page + kFlagsAt]) & kIsLast) == 0;
}

std::optional<bool> flacStream::isDigestSame()
{
    if (!hasDigest_ || hasSought_ || FLAC__stream_decoder_get_md5_checking(decoder_.get()) == 0)
        return {};
    return FLAC__stream_decoder_finish(decoder_.get()) != 0;
}
