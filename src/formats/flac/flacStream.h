#pragma once

#include "formats/BlockDecoder.h"
#include "formats/DecoderFeed.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <FLAC/stream_decoder.h>

/// The sound of a FLAC stream, native or inside Ogg. Where blocks are missing from a damaged file there is a
/// block of silence, so that what follows keeps its place. Of a stream that was cut out of a longer one, the
/// number of the first block is the origin. One thread at a time.
class flacStream : public BlockDecoder {
public:
    enum class Container { kNative, kOgg };

    /// Reads the file's head, from its start.
    /// @param feed           must outlive this object, which moves the file's position
    /// @param comparesDigest see isDigestSame
    /// @throws eboFormatReader::FileUnsupported if it is not FLAC in that container
    flacStream(DecoderFeed& feed, Container container, bool comparesDigest);
    ~flacStream() override;

    [[nodiscard]] std::uint32_t channels() const { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const { return sampleRate_; }

    /// Length in frames by the stream's head, 0 if that does not tell.
    [[nodiscard]] std::uint64_t statedFrames() const { return statedFrames_; }

    /// What the file's last bytes tell.
    struct End {
        std::uint64_t frames = 0;  ///< By the number of the last block; 0 if there is none.
        bool isCutOff = false;     ///< Behind it stands the beginning of another.
    };

    /// Looks for the last block from the file's end backwards. Nothing on a failure. Afterwards nothing else
    /// can be had from this object.
    [[nodiscard]] std::optional<End> findEnd();

    /// After all has been decoded: whether the digest that the head carries is that of the sound; nothing if
    /// it carries none, or not all was decoded in sequence. Afterwards nothing else can be had.
    [[nodiscard]] std::optional<bool> isDigestSame();

    Step next() override;
    [[nodiscard]] std::int64_t blockFrames() const override;
    [[nodiscard]] std::int64_t blockStart() const override;
    Arrival goTo(std::int64_t frame) override;
    bool interleave(std::int64_t first, std::int64_t count, FrameTarget& target) override;

private:
    struct Callbacks;
    struct Delete {
        void operator()(FLAC__StreamDecoder* decoder) const { FLAC__stream_decoder_delete(decoder); }
    };

    void readHead();
    void onStreamInfo(const FLAC__StreamMetadata_StreamInfo& info);
    void onBlock(const FLAC__FrameHeader& header, const FLAC__int32* const* planes);
    void onError(FLAC__StreamDecoderErrorStatus status);
    Step decode();
    void forgetBlocks();
    void loseTrack();
    [[nodiscard]] bool findLastBlockIn(std::int64_t bytes);
    [[nodiscard]] std::optional<End> countToEnd();
    [[nodiscard]] bool isCutOff();

    DecoderFeed& feed_;
    const Container container_;
    bool hasStreamInfo_ = false;  ///< One that makes sense.
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    std::uint64_t statedFrames_ = 0;
    std::uint32_t largestBlockBytes_ = 0;   ///< By the stream's head, 0 if that does not tell.
    std::uint32_t largestBlockFrames_ = 0;  ///< The same in frames.
    bool hasWrongNumbers_ = false;  ///< Blocks are larger than stated, by which the library numbers them.
    bool hasDigest_ = false;
    std::optional<std::uint64_t> origin_;  ///< The number of the stream's first frame, once a block has come.
    std::optional<std::uint64_t>
        nextNumber_;  ///< Behind the last block decoded; nothing if that is not known.

    // What one call of the library gave: silence for what is missing, then a block. `next` gives the one,
    // then the other.
    std::uint64_t silentFrames_ = 0;
    std::uint64_t soundFrames_ = 0;
    std::uint64_t soundNumber_ = 0;
    std::uint32_t soundChannels_ = 0;
    std::vector<float> samples_;  ///< Interleaved; as large as the largest block so far.
    enum class Given { kAll, kNothing, kSilence };
    Given given_ = Given::kAll;

    std::vector<FLAC__StreamDecoderErrorStatus> errors_;  ///< To be logged if sound follows: a file that was
                                                          ///< cut off is no error.
    bool isSearchingEnd_ = false;
    std::int64_t lastBlockEnd_ =
        -1;  ///< The byte behind the last block found; -1 if the library cannot tell.
    bool hasSought_ = false;
    const std::unique_ptr<FLAC__StreamDecoder, Delete> decoder_;
};
