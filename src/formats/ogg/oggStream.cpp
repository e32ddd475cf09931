#include "formats/ogg/oggStream.h"

#include "formats/eboFormatReader.h"
#include "formats/fixedPointToFloat.h"
#include "formats/ogg/isSoundVorbisFile.h"

#include <QDebug>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace {

constexpr float kFullScale = 32767.0f;

DecoderFeed& feedOf(void* feed) { return *static_cast<DecoderFeed*>(feed); }

}  // namespace

oggStream::oggStream(DecoderFeed& feed) : feed_(feed)
{
    if (!open()) {
        close();
        throw eboFormatReader::FileUnsupported("OGG");
    }
}

oggStream::~oggStream() { close(); }

bool oggStream::open()
{
    if (!isSoundVorbisFile(feed_) || !feed_.seek(0))
        return false;
    feed_.renew();
    const ov_callbacks callbacks = {&onRead, &onSeek, nullptr, &onTell};
    isOpen_ = ov_open_callbacks(&feed_, &vorbis_, nullptr, 0, callbacks) == 0;
    if (!isOpen_ || ov_seekable(&vorbis_) == 0 || ov_streams(&vorbis_) >= 2)
        return false;
    const vorbis_info* info = ov_info(&vorbis_, -1);
    if (info == nullptr || info->channels <= 0 || info->rate <= 0 ||
        info->rate > std::numeric_limits<std::int32_t>::max())
        return false;
    channels_ = static_cast<std::uint32_t>(info->channels);
    sampleRate_ = static_cast<std::uint32_t>(info->rate);
    statedFrames_ = ov_pcm_total(&vorbis_, -1);
    return true;
}

void oggStream::close()
{
    if (std::exchange(isOpen_, false))
        ov_clear(&vorbis_);
}

/// Whether the decoder is still there after a call with this result. When its tables cannot be made from the
/// headers, libvorbis must not be called again: a second attempt would take the half made ones for good.
bool oggStream::survives(long result)
{
    if (result == OV_EBADLINK)
        close();
    return isOpen_;
}

oggStream::Step oggStream::next()
{
    if (!isOpen_)
        return Step::kFailed;
    if (std::exchange(isSilence_, false)) {
        setBlock(decodedFrames_);
        return Step::kBlock;
    }
    const auto frameBytes = static_cast<int>(channels_ * sizeof samples_[0]);
    const int room = static_cast<int>(sizeof samples_) / frameBytes * frameBytes;
    const std::int64_t before = ov_pcm_tell(&vorbis_);
    long result = OV_EINVAL;
    int link = 0;
    do {
        feed_.renew();
        link = 0;
        result = ov_read(&vorbis_, reinterpret_cast<char*>(samples_.data()), room, 0, sizeof samples_[0], 1,
                         &link);
        hasHole_ = hasHole_ || result == OV_HOLE;
    } while (survives(result) && (result == OV_HOLE || (result > 0 && link != 0)));
    if (result < 1)
        return feed_.hasFailed() || !isOpen_ ? Step::kFailed : Step::kEnd;
    decodedFrames_ = result / frameBytes;
    // How much a hole took shows with the next time stamp, where the library's count jumps.
    const std::int64_t missing = ov_pcm_tell(&vorbis_) - decodedFrames_ - before;
    isSilence_ = hasHole_ && missing > 0;
    hasHole_ = hasHole_ && !isSilence_;
    setBlock(isSilence_ ? missing : decodedFrames_);
    return Step::kBlock;
}

void oggStream::setBlock(std::int64_t frames)
{
    blockStart_ = position_;
    blockFrames_ = frames;
    position_ += frames;
}

oggStream::Arrival oggStream::goTo(std::int64_t frame)
{
    if (!isOpen_)
        return Arrival::kNowhere;
    feed_.renew();
    int result = ov_pcm_seek(&vorbis_, frame);
    // Seeks after a failure of the file fail over what that left behind in the library; from the start they
    // work.
    if (survives(result) && result < 0 && result != OV_EINVAL && ov_raw_seek(&vorbis_, 0) == 0)
        result = ov_pcm_seek(&vorbis_, frame);
    if (result < 0)
        qWarning() << "Ogg seek failed ( requested:" << frame << ", result:" << result << ")";
    else
        isSilence_ = hasHole_ = false;
    position_ = frame;
    if (!isOpen_)
        return Arrival::kNowhere;
    return result < 0 ? Arrival::kStayed : Arrival::kNotBehind;
}

bool oggStream::interleave(std::int64_t first, std::int64_t count, FrameTarget& target)
{
    const FrameTarget::Room room = target.put(static_cast<std::uint64_t>(count), channels_);
    if (isSilence_)
        std::fill_n(room.samples, room.frames * channels_, 0.0f);
    else
        divide(samples_.data() + first * channels_, room.frames * channels_, kFullScale, room.samples);
    return true;
}

std::size_t oggStream::onRead(void* buffer, std::size_t itemSize, std::size_t items, void* feed)
{
    const std::int64_t count = feedOf(feed).read(buffer, itemSize * items);
    // The library takes nothing read for a failure if there is an error number, whoever left it there.
    if (count == 0)
        errno = 0;
    return static_cast<std::size_t>(count);  // it sees a failure's negative count again
}

int oggStream::onSeek(void* feed, ogg_int64_t offset, int whence)
{
    return feedOf(feed).seek(offset, whence) ? 0 : -1;
}

long oggStream::onTell(void* feed) { return feedOf(feed).pos(); }
