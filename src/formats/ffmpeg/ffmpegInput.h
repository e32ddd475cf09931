#pragma once

#include "formats/DecoderFeed.h"
#include "formats/ffmpeg/ffmpegFileIo.h"
#include "formats/ffmpeg/ffmpegHandles.h"

#include <cstdint>
#include <vector>

/// The container of a file, taken apart into packets. Reads nothing but the given file, whatever other files
/// or addresses its contents point to. One thread at a time.
class ffmpegInput {
public:
    /// Finds out what the file holds, from its start.
    /// @param feed must outlive this object, which moves the file's position
    /// @throws eboFormatReader::FileUnsupported if it is nothing that can be read
    explicit ffmpegInput(DecoderFeed& feed);

    /// Indices of the audio streams.
    [[nodiscard]] std::vector<int> audioStreams() const;

    [[nodiscard]] const AVStream& stream(int index) const { return *format_->streams[index]; }

    /// The stream's length in frames of the given rate, by what the container states, in single precision; 0
    /// if it states none.
    [[nodiscard]] std::int64_t statedFrames(int streamIndex, int sampleRate) const;

    /// Whether the container has a name of FFmpeg's, such as "mp3".
    [[nodiscard]] bool isContainer(const char* name) const;

    /// Whether this container finds a time by the mean byte rate, so that only PCM is found exactly.
    [[nodiscard]] bool seeksByByteRate() const;

    /// The next packet of the stream. False at the end of the data, which is also where they make no sense
    /// any more, and on a failure.
    bool readPacket(int streamIndex, AVPacket& packet);

    /// Whether a packet could not be had for a reason that is not the file's contents.
    [[nodiscard]] bool hasFailed() const { return lacksMemory_ || feed_.hasFailed(); }

    /// Goes to the last packet that begins at or before the time stamp, in units of the stream's time base.
    bool seek(int streamIndex, std::int64_t stamp);

private:
    const DecoderFeed& feed_;
    ffmpegFileIo io_;
    ffmpeg::FormatContext format_;
    bool lacksMemory_ = false;
};
