#pragma once

#include "file/eboFile.h"
#include "formats/ffmpeg/ffmpegFileIo.h"
#include "formats/ffmpeg/ffmpegHandles.h"

#include <cstdint>
#include <vector>

/// The container of a file, taken apart into packets. Reads nothing but the given file, whatever other files
/// or addresses its contents point to. One thread at a time.
class ffmpegInput {
public:
    /// Finds out what the file holds, from its start.
    /// @param file open for reading; must outlive this object, which moves its position
    /// @throws eboFormatReader::FileUnsupported if it is nothing that can be read
    explicit ffmpegInput(eboFile& file);

    /// Indices of the audio streams.
    [[nodiscard]] std::vector<int> audioStreams() const;

    [[nodiscard]] const AVStream& stream(int index) const { return *format_->streams[index]; }

    /// The stream's length in frames of the given rate, by what the container states, in single precision; 0
    /// if it states none.
    [[nodiscard]] std::int64_t statedFrames(int streamIndex, int sampleRate) const;

    /// The stream's length in frames of the given rate, counted by reading all packets that are left.
    [[nodiscard]] std::int64_t countFrames(int streamIndex, int sampleRate);

    /// Whether this container finds a time by the mean byte rate, so that only PCM is found exactly.
    [[nodiscard]] bool seeksByByteRate() const;

    /// The next packet of the stream. False at the end of the data or on a failure.
    bool readPacket(int streamIndex, AVPacket& packet);

    /// Goes to the last packet that begins at or before the time stamp, in units of the stream's time base.
    bool seek(int streamIndex, std::int64_t stamp);

private:
    ffmpegFileIo io_;
    ffmpeg::FormatContext format_;
};
