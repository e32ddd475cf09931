#include "formats/ffmpeg/ffmpegFileIo.h"

#include "formats/eboFormatReader.h"

#include <algorithm>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace {

constexpr int kBufferBytes = 4096;  // the unit in which remote files deliver

}  // namespace

ffmpegFileIo::ffmpegFileIo(DecoderFeed& feed)
{
    (void)feed.seek(0);
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    if (buffer != nullptr)
        context_.reset(avio_alloc_context(buffer, kBufferBytes, 0, &feed, &read, nullptr, &seek));
    if (context_ == nullptr) {
        av_free(buffer);
        throw eboFormatReader::FileUnsupported("FFMPEG");
    }
}

void ffmpegFileIo::FreeContext::operator()(AVIOContext* context) const
{
    av_freep(static_cast<void*>(&context->buffer));  // may have been replaced by the library since
    avio_context_free(&context);
}

int ffmpegFileIo::read(void* opaque, std::uint8_t* buffer, int size)
{
    auto& feed = *static_cast<DecoderFeed*>(opaque);
    const auto count =
        static_cast<int>(feed.read(buffer, static_cast<std::size_t>(std::min(size, kBufferBytes))));
    // Once a file has failed, the library shall not search what is left of it for another chunk; and what a
    // device that has gone can no longer give reads as zeros.
    if (feed.hasFailed())
        return AVERROR(EIO);
    if (count == 0)
        return feed.isReadable() ? AVERROR_EOF : AVERROR(EIO);
    return count < 0 ? AVERROR(EIO) : count;
}

std::int64_t ffmpegFileIo::seek(void* opaque, std::int64_t offset, int whence)
{
    auto& feed = *static_cast<DecoderFeed*>(opaque);
    if (whence == AVSEEK_SIZE)
        return feed.size();
    return feed.seek(offset, whence) ? feed.pos() : -1;
}
