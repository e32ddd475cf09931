#include "formats/ogg/oggFileReader.h"

#include "formats/fixedPointToFloat.h"
#include "formats/ogg/isSoundVorbisFile.h"
#include "formats/seekFrom.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t kChunkSamples = 2048;  // 4096 bytes: a long block of usual stereo files
constexpr float kFullScale = 32767.0f;
constexpr std::int64_t kLastFrame = std::numeric_limits<std::uint32_t>::max();

eboFile& fileOf(void* feed) { return static_cast<DecoderFeed*>(feed)->file(); }

}  // namespace

oggFileReader::oggFileReader(ebo::refptr<eboFile> file) : file_(std::move(file), "OGG"), feed_(*file_)
{
    if (!open()) {
        closeDecoder();
        throw FileUnsupported("OGG");
    }
}

oggFileReader::~oggFileReader() { closeDecoder(); }

bool oggFileReader::open()
{
    if (!isSoundVorbisFile(feed_) || !file_->seek(0))
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
    length_ = static_cast<std::uint32_t>(
        std::clamp(std::int64_t{ov_pcm_total(&vorbis_, -1)}, std::int64_t{0}, kLastFrame));
    return true;
}

void oggFileReader::closeDecoder()
{
    if (std::exchange(isOpen_, false))
        ov_clear(&vorbis_);
}

ebo::refptr<eboFormatReader> oggFileReader::clone() { return ebo::makeRef<oggFileReader>(file_->clone()); }

void oggFileReader::close()
{
    closeDecoder();
    file_.close();
}

std::uint64_t oggFileReader::readInterleaved(float* target, std::uint64_t firstSample,
                                             std::uint64_t sampleCount)
{
    if (!isOpen_ || firstSample % channels_ != 0)
        return 0;
    const std::uint64_t firstFrame = firstSample / channels_;
    if (firstFrame > kLastFrame)
        return 0;
    goTo(static_cast<std::int64_t>(firstFrame));

    const std::uint64_t wanted = sampleCount - sampleCount % channels_;
    std::array<std::int16_t, kChunkSamples> chunk;
    std::uint64_t done = 0;
    while (isOpen_ && done < wanted) {
        const long bytes = decode(chunk.data(), std::min<std::uint64_t>(wanted - done, chunk.size()));
        if (bytes < 1)
            break;
        const std::size_t count = static_cast<std::size_t>(bytes) / sizeof chunk[0];
        divide(chunk.data(), count, kFullScale, target + done);
        done += count;
    }
    return done;
}

/// Whether the decoder is still there after a call with this result. When its tables cannot be made from the
/// headers, libvorbis must not be called again: a second attempt would take the half made ones for good.
bool oggFileReader::survives(long result)
{
    if (result == OV_EBADLINK)
        closeDecoder();
    return isOpen_;
}

void oggFileReader::goTo(std::int64_t frame)
{
    if (frame == ov_pcm_tell(&vorbis_))
        return;
    feed_.renew();
    int result = ov_pcm_seek(&vorbis_, frame);
    // Seeks after a failure of the file fail over what that left behind in the library; from the start they
    // work.
    if (survives(result) && result < 0 && result != OV_EINVAL && ov_raw_seek(&vorbis_, 0) == 0)
        result = ov_pcm_seek(&vorbis_, frame);
    if (result < 0)
        qWarning() << "Ogg seek failed ( requested:" << frame << ", result:" << result << ")";
}

/// The next samples of the stream itself, up to the number given; without them as ov_read.
long oggFileReader::decode(std::int16_t* samples, std::size_t count)
{
    long result = OV_EINVAL;
    int link = 0;
    do {
        feed_.renew();
        link = 0;
        result = ov_read(&vorbis_, reinterpret_cast<char*>(samples),
                         static_cast<int>(count * sizeof *samples), 0, sizeof *samples, 1, &link);
    } while (survives(result) && (result == OV_HOLE || (result > 0 && link != 0)));
    return result;
}

std::size_t oggFileReader::onRead(void* buffer, std::size_t itemSize, std::size_t items, void* feed)
{
    const std::int64_t count = static_cast<DecoderFeed*>(feed)->read(buffer, itemSize * items);
    // The library takes nothing read for a failure if there is an error number, whoever left it there.
    if (count == 0)
        errno = 0;
    return static_cast<std::size_t>(count);  // it sees a failure's negative count again
}

int oggFileReader::onSeek(void* feed, ogg_int64_t offset, int whence)
{
    return seekFrom(fileOf(feed), offset, whence) ? 0 : -1;
}

long oggFileReader::onTell(void* feed) { return fileOf(feed).pos(); }
