#pragma once

#include "file/eboFile.h"
#include "formats/DecodingOptions.h"
#include "formats/TrackLength.h"
#include "formats/eboDecodedFileReader.h"
#include "formats/ffmpeg/ffmpegAudioStream.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// Reads audio with the FFmpeg libraries, through an eboFile, so that remote files read like local ones.
///
/// Frame 0 is the first that a plain decode of the file delivers, and reading on and seeking agree about
/// every frame where the codec is repeatable (AAC with noise substitution is not). Reading on never seeks.
class ffmpegFileReader : public eboDecodedFileReader {
public:
    static constexpr int kFirstUsableStream = -1;

    /// Opens the file, locks it and decodes the first frame. The length that the file states is believed if
    /// its bytes can hold it, otherwise all packets are counted.
    /// @param knownLength       of the wanted stream, if that has been found out before
    /// @param wantedStreamIndex the stream's index in the container; if that stream cannot be decoded, the
    ///                          last one that can be is taken. kFirstUsableStream takes the first.
    /// @throws FileUnsupported, std::out_of_range for a path of less than four bytes, and what a refused lock
    ///         throws (see eboFileLocker)
    explicit ffmpegFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options = {},
                              std::optional<TrackLength> knownLength = {},
                              int wantedStreamIndex = kFirstUsableStream);
    ~ffmpegFileReader() override;

    [[nodiscard]] ebo::refptr<eboFormatReader> clone() override;
    /// For AAC 2112 if the first frame is stamped 0, for mp3 the frames to skip times -2, otherwise 0.
    [[nodiscard]] int encoderDelay() const override;
    [[nodiscard]] std::uint32_t audioStreamCount() const override;
    void selectAudioStream(std::uint32_t index) override;

    /// As in the base; from the usual compressed formats on a shorter way to the same samples.
    std::uint32_t readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames) override;

    /// As in the base, but more than two channels are mixed to stereo.
    std::uint32_t readStereoPlanar(float** targets, std::uint32_t firstFrame, std::uint32_t frames) override;

private:
    /// What stays known of a stream when its decoder is renewed or gone.
    struct StreamFacts {
        int index = 0;
        AVCodecID codecId = AV_CODEC_ID_NONE;
        int channels = 0;
        int sampleRate = 0;
        std::int64_t startOffset = 0;
        int skipCount = 0;
        bool hasFloatPlanes = false;

        explicit StreamFacts(const ffmpegAudioStream& stream);
        StreamFacts() = default;
        bool operator==(const StreamFacts&) const = default;
    };

    void openStream(int wantedStreamIndex, const std::optional<TrackLength>& knownLength);
    bool tryStream(std::unique_ptr<ffmpegInput> input, int streamIndex,
                   const std::optional<TrackLength>& knownLength);
    std::unique_ptr<ffmpegAudioStream> reopen(const StreamFacts& facts);
    TrackLength findLength(std::unique_ptr<ffmpegAudioStream>& stream);
    std::optional<std::int64_t> countChained(const ffmpegAudioStream& stream);
    bool isStatedLengthPlausible(const ffmpegAudioStream& stream, std::int64_t statedFrames);
    [[nodiscard]] ffmpegAudioStream& stream() const;

    std::vector<int> audioStreams_;  ///< Indices of the audio streams in the container.
    StreamFacts facts_;
};
