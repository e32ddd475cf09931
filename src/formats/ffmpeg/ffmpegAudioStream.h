#pragma once

#include "formats/BlockDecoder.h"
#include "formats/ffmpeg/ffmpegHandles.h"
#include "formats/ffmpeg/ffmpegInput.h"
#include "formats/ffmpeg/ffmpegResampler.h"
#include "formats/ffmpeg/ffmpegReshaper.h"
#include "formats/ffmpeg/ffmpegShape.h"

#include <cstdint>
#include <memory>
#include <optional>

/// One audio stream, decoded from its first frame on. Channels and sample rate are those that the container
/// was found to have when it was opened; frames that differ from them are brought to them. Decoders trim an
/// encoder's priming themselves. One thread at a time.
class ffmpegAudioStream : public BlockDecoder {
public:
    static constexpr int kMostChannels = 8;

    /// Opens the decoder and decodes the first block.
    /// @throws eboFormatReader::FileUnsupported if the stream cannot be decoded
    ffmpegAudioStream(std::unique_ptr<ffmpegInput> input, int streamIndex);

    [[nodiscard]] int index() const { return streamIndex_; }
    [[nodiscard]] AVCodecID codecId() const { return codec_->codec_id; }
    [[nodiscard]] int channels() const { return shape_.channels; }
    [[nodiscard]] int sampleRate() const { return shape_.sampleRate; }

    /// The time stamp of the first frame, in frames.
    [[nodiscard]] std::int64_t startOffset() const { return startOffset_; }

    /// Frames that the first packet tells to drop.
    [[nodiscard]] int skipCount() const { return skipCount_; }

    /// Where the first packet begins, in bytes; negative if the container does not tell.
    [[nodiscard]] std::int64_t firstByte() const { return firstByte_; }

    /// Bytes of a frame of PCM, 0 for anything else.
    [[nodiscard]] int pcmFrameBytes() const;

    /// The length that the container states, without the priming that it counts; see
    /// ffmpegInput::statedFrames. 0 if it states none.
    [[nodiscard]] std::int64_t statedFrames() const;

    /// Frames that a stated length counts and the decoder drops.
    [[nodiscard]] std::int64_t statedPriming() const;

    [[nodiscard]] const ffmpegInput& input() const { return *input_; }

    Step next() override;
    [[nodiscard]] std::int64_t blockFrames() const override { return frame_->nb_samples; }
    [[nodiscard]] std::int64_t blockStart() const override;
    Arrival goTo(std::int64_t frame) override;
    bool interleave(std::int64_t first, std::int64_t count, FrameTarget& target) override;

    /// The same as interleave, mixed to stereo where it is something else.
    /// @param targets left and right, `count` samples each
    [[nodiscard]] bool planarStereo(std::int64_t first, std::int64_t count, float* const* targets);

    /// Whether `mono` is there: the decoder gives one or two planes of float.
    [[nodiscard]] bool hasFloatPlanes() const
    {
        return shape_.format == AV_SAMPLE_FMT_FLTP && shape_.channels <= 2;
    }

    /// The same as interleave and mixToMono after it, without the way through interleaved samples.
    /// @param target `count` samples
    void mono(std::int64_t first, std::int64_t count, float* target) const;

private:
    void openDecoder();
    void decodeFirst();
    Step decodeNext(int packetLimit);
    void feed();
    bool isUsable();
    [[nodiscard]] bool isPcm() const;
    [[nodiscard]] bool stampsLeadToFrames() const;
    [[nodiscard]] std::int64_t frameStart() const;

    const std::unique_ptr<ffmpegInput> input_;
    const int streamIndex_;
    const AVStream& stream_;
    ffmpeg::CodecContext codec_;
    const ffmpeg::Packet packet_;
    const ffmpeg::Frame frame_;               ///< The block.
    bool isFirstWaiting_ = false;             ///< The first block is there, and next was not called yet.
    ffmpegShape shape_;                       ///< Its form is that of the first frame.
    std::optional<ffmpegReshaper> reshaper_;  ///< From the first frame of another shape on.
    bool countsAlone_ = false;                ///< Time stamps lead nowhere: there were such frames.
    std::optional<ffmpegResampler> floatResampler_;   ///< From the first frame on.
    std::optional<ffmpegResampler> planarResampler_;  ///< From its first use on.
    std::optional<std::int64_t> firstStamp_;          ///< Of the first packet, in frames.
    std::int64_t startOffset_ = 0;
    std::int64_t firstByte_ = -1;
    int skipCount_ = 0;
    bool hasPacket_ = false;  ///< The first packet of the stream has come.
};
