#pragma once

#include "formats/ffmpeg/ffmpegHandles.h"
#include "formats/ffmpeg/ffmpegInput.h"
#include "formats/ffmpeg/ffmpegResampler.h"

#include <cstdint>
#include <memory>
#include <optional>

/// One audio stream, decoded from its first frame on. Channels, sample rate and sample format are those of
/// that frame; what does not agree with it later is left out. Decoders trim an encoder's priming themselves.
/// One thread at a time.
class ffmpegAudioStream {
public:
    static constexpr int kMostChannels = 8;

    enum class Seek {
        Done,       ///< The next frame taken is the one asked for.
        Unaligned,  ///< Somewhere else: the stream's time stamps do not lead to the frame.
        Failed      ///< There is nothing at that frame.
    };

    /// Opens the decoder and decodes the first frame.
    /// @throws eboFormatReader::FileUnsupported if the stream cannot be decoded
    ffmpegAudioStream(std::unique_ptr<ffmpegInput> input, int streamIndex);

    [[nodiscard]] int index() const { return streamIndex_; }
    [[nodiscard]] AVCodecID codecId() const { return codec_->codec_id; }
    [[nodiscard]] int channels() const { return channels_; }
    [[nodiscard]] int sampleRate() const { return sampleRate_; }

    /// The time stamp of the first frame, in frames.
    [[nodiscard]] std::int64_t startOffset() const { return startOffset_; }

    /// Frames that the first packet tells to drop.
    [[nodiscard]] int skipCount() const { return skipCount_; }

    /// See ffmpegInput::statedFrames.
    [[nodiscard]] std::int64_t statedFrames() const
    {
        return input_->statedFrames(streamIndex_, sampleRate_);
    }

    /// Takes the next frames, converted to interleaved float.
    /// @param target frames x channels samples
    /// @return frames taken; fewer than asked for at the end of the data or after a failure
    std::int64_t take(float* target, std::int64_t frames);

    /// The same, mixed to stereo where it is something else.
    /// @param targets left and right, `frames` samples each
    std::int64_t takePlanarStereo(float* const* targets, std::int64_t frames);

    /// Whether takeMono is there: the decoder gives one or two planes of float.
    [[nodiscard]] bool hasFloatPlanes() const { return format_ == AV_SAMPLE_FMT_FLTP && channels_ <= 2; }

    /// The same as take and mixToMono after it, without the way through interleaved samples.
    /// @param target `frames` samples
    std::int64_t takeMono(float* target, std::int64_t frames);

    /// Leaves the next frames out. @return as take
    std::int64_t drop(std::int64_t frames);

    /// Goes to the frame, counted from the first one, by time stamps; decodes from a little earlier so that
    /// the decoder has found its state again. After anything but Done, frames can be taken only after another
    /// seek.
    Seek seek(std::int64_t frame);

private:
    template <typename Convert>
    std::int64_t takeBy(std::int64_t frames, Convert convert);
    void openDecoder();
    void decodeFirst();
    bool decodeNext(int packetLimit);
    void feed();
    [[nodiscard]] bool isExpectedShape() const;
    [[nodiscard]] bool stampsLeadToFrames() const;
    [[nodiscard]] std::int64_t frameStart() const;
    [[nodiscard]] std::int64_t available() const { return frame_->nb_samples - consumed_; }

    const std::unique_ptr<ffmpegInput> input_;
    const int streamIndex_;
    const AVStream& stream_;
    ffmpeg::CodecContext codec_;
    const ffmpeg::Packet packet_;
    const ffmpeg::Frame frame_;                       ///< The decoded frames that are being taken.
    std::int64_t consumed_ = 0;                       ///< How many of them have been.
    std::optional<ffmpegResampler> floatResampler_;   ///< From the first frame on.
    std::optional<ffmpegResampler> planarResampler_;  ///< From its first use on.
    int channels_ = 0;                                ///< 0 until the first frame has come.
    AVSampleFormat format_ = AV_SAMPLE_FMT_NONE;
    int sampleRate_ = 0;
    std::int64_t startOffset_ = 0;
    int skipCount_ = 0;
};
