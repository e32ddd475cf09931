#pragma once

#include "file/eboFile.h"
#include "formats/DecoderFeed.h"
#include "formats/FrameBacklog.h"

#include <cstdint>
#include <memory>
#include <vector>

#include <FLAC/stream_decoder.h>

/// The sound of a FLAC stream, native or inside Ogg, as interleaved float. Reading on never seeks: what a
/// decoded block holds beyond a read is kept for the next. Where blocks are missing from a damaged file there
/// is silence, so that what follows keeps its place. One thread at a time.
class flacStream {
public:
    enum class Container { Native, Ogg };

    /// Reads the file's head, from its start.
    /// @param file open for reading; must outlive this object, which moves its position
    /// @throws eboFormatReader::FileUnsupported if it is not FLAC in that container
    flacStream(eboFile& file, Container container);

    [[nodiscard]] std::uint32_t channels() const { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const { return sampleRate_; }

    /// Length in frames by the stream's head, 0 if that does not tell.
    [[nodiscard]] std::uint64_t statedFrames() const { return statedFrames_; }

    /// Length in frames by the number of the last block, which is looked for from the file's end backwards.
    /// Afterwards nothing else can be had from this object.
    [[nodiscard]] std::uint64_t findEnd();

    /// Reads frames from the given one on.
    /// @param target frames x channels samples
    /// @return frames delivered; fewer than asked for at the end of the data, 0 after a failure
    std::uint64_t read(float* target, std::uint64_t firstFrame, std::uint64_t frames);

private:
    struct Callbacks;
    struct Delete {
        void operator()(FLAC__StreamDecoder* decoder) const { FLAC__stream_decoder_delete(decoder); }
    };

    void onStreamInfo(const FLAC__StreamMetadata_StreamInfo& info);
    void onBlock(const FLAC__FrameHeader& header, const FLAC__int32* const* planes);
    void onError(FLAC__StreamDecoderErrorStatus status);
    bool goTo(std::uint64_t frame);
    bool decodeMore();
    void loseTrack();
    bool decodeEnd(std::int64_t bytes);

    DecoderFeed feed_;
    bool hasStreamInfo_ = false;  ///< One that makes sense.
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    std::uint64_t statedFrames_ = 0;
    std::uint64_t nextFrame_ = 0;  ///< The frame behind the last one decoded.
    FrameBacklog backlog_;         ///< Decoded but not yet read; ends where nextFrame_ begins.
    FrameTarget target_;           ///< Of the current read.
    std::vector<FLAC__StreamDecoderErrorStatus> errors_;  ///< To be logged if sound follows: a file that was
                                                          ///< cut off is no error.
    bool isSearchingEnd_ = false;
    const std::unique_ptr<FLAC__StreamDecoder, Delete> decoder_;
};
