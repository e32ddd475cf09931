#pragma once

#include "file/eboFile.h"
#include "formats/StopCheck.h"

#include <cstddef>
#include <cstdint>
#include <limits>

/// What a decoder library reads a file through. It bounds what the library takes within one call, lets
/// whoever has given up end it, and remembers whether the file failed: libraries treat a failure much like
/// the end of the data, and a track whose disk fails must not pass for a shorter one. One thread at a time.
class DecoderFeed {
public:
    /// A library that looks for the end of a packet or for the next sound keeps reading, and may keep what it
    /// reads, for as long as a broken file leads it on. This is more than one tag or picture takes.
    static constexpr std::int64_t kMostBytesPerCall = std::int64_t{64} << 20U;

    /// For a library that keeps next to nothing of what it passes over.
    static constexpr std::int64_t kUnlimited = std::numeric_limits<std::int64_t>::max();

    /// @param file open for reading; must outlive this object
    explicit DecoderFeed(eboFile& file, StopCheck stopCheck = {},
                         std::int64_t mostBytesPerCall = kMostBytesPerCall);

    /// To be called before each call of the library.
    void renew() { bytesLeft_ = mostBytesPerCall_; }

    /// As eboFile::read, but fails when too much has been read since `renew`, and when the user gives up.
    [[nodiscard]] std::int64_t read(void* buffer, std::size_t size);

    /// Goes to the place that decoder libraries ask for: from the start, the current place or the end by
    /// SEEK_SET, SEEK_CUR or SEEK_END. From the end it counts backwards, unlike fseek: a positive offset lies
    /// inside of the file.
    /// @return false if the file refuses, and for any other `whence`
    [[nodiscard]] bool seek(std::int64_t offset, int whence);

    /// Goes to a byte from the start.
    [[nodiscard]] bool seek(std::int64_t position);

    [[nodiscard]] std::int64_t pos() const { return file_.pos(); }
    [[nodiscard]] std::int64_t size() const { return file_.size(); }
    [[nodiscard]] bool atEnd() const { return file_.atEnd(); }
    [[nodiscard]] bool isReadable() const { return file_.isReadable(); }

    /// Whether anything that the file has could not be had, by its own fault or because the user gave up.
    /// Stays so.
    [[nodiscard]] bool hasFailed() const { return hasFailed_ || file_.hasLostData(); }

private:
    void fail();

    eboFile& file_;
    const StopCheck stopCheck_;
    const std::int64_t mostBytesPerCall_;
    std::int64_t bytesLeft_;
    bool hasFailed_ = false;
};
