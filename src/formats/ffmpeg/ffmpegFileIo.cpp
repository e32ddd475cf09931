#include "formats/ffmpeg/ffmpegFileIo.h"

#include "formats/eboFormatReader.h"
#include "formats/seekFrom.h"

#include <algorithm>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace {

constexpr int kBufferBytes = 4096;  // the unit in which remote files deliver

}  // namespace

ffmpegFileIo::ffmpegFileIo(eboFile& file)
{
    file.seek(0);
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    if (buffer != nullptr)
        context_.reset(avio_alloc_context(buffer, kBufferBytes, 0, &file, &read, nullptr, &seek));
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
    auto& file = *static_cast<eboFile*>(opaque);
    const auto count = static_cast<int>(file.read(buffer, std::min(size, kBufferBytes)));
    // What a device that has gone can no longer give reads as zeros, in files as long as it has said: not to
    // be searched to their end for another chunk.
    if (file.hasLostData())
        return AVERROR(EIO);
    if (count == 0)
        return file.isReadable() ? AVERROR_EOF : AVERROR(EIO);
    return count < 0 ? AVERROR(EIO) : count;
}

std::int64_t ffmpegFileIo::seek(void* opaque, std::int64_t offset, int whence)
{
    auto& file = *static_cast<eboFile*>(opaque);
    if (whence == AVSEEK_SIZE)
        return file.size();
    return seekFrom(file, offset, whence) ? file.pos() : -1;
}
