#pragma once

#include "file/eboFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// Hands the bytes of a file to a decoder library, within bounds. A library that looks for the end of a
/// packet or for the next sound keeps reading, and may keep what it reads, for as long as a broken file leads
/// it on; after so many bytes within one call, reading fails instead. One thread at a time.
class DecoderFeed {
public:
    /// More than a track's pictures and texts take, which all lie before its sound.
    static constexpr std::int64_t kMostBytesPerCall = std::int64_t{64} << 20U;

    /// @param file open for reading; must outlive this object
    explicit DecoderFeed(eboFile& file) : file_(file) {}

    [[nodiscard]] eboFile& file() const { return file_; }

    /// To be called before each call of the library.
    void renew() { bytesLeft_ = kMostBytesPerCall; }

    /// As eboFile::read, but fails when too much has been read since `renew`.
    [[nodiscard]] std::int64_t read(void* buffer, std::size_t size)
    {
        if (bytesLeft_ <= 0)
            return -1;
        const std::int64_t count = file_.read(buffer, static_cast<std::int64_t>(size));
        bytesLeft_ -= std::max(count, std::int64_t{0});
        return count;
    }

private:
    eboFile& file_;
    std::int64_t bytesLeft_ = kMostBytesPerCall;
};
