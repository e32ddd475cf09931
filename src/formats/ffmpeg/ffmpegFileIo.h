#pragma once

#include "formats/DecoderFeed.h"

#include <cstdint>
#include <memory>

extern "C" {
#include <libavformat/avio.h>
}

/// Lets the FFmpeg libraries read a file through its feed, which must outlive this. The position of the file
/// belongs to this object for as long as it lives. One thread at a time.
class ffmpegFileIo {
public:
    /// Begins at the start of the file.
    /// @throws eboFormatReader::FileUnsupported if there is no memory
    explicit ffmpegFileIo(DecoderFeed& feed);

    [[nodiscard]] AVIOContext* context() const { return context_.get(); }

private:
    struct FreeContext {
        void operator()(AVIOContext* context) const;
    };

    static int read(void* feed, std::uint8_t* buffer, int size);
    static std::int64_t seek(void* feed, std::int64_t offset, int whence);

    std::unique_ptr<AVIOContext, FreeContext> context_;
};
