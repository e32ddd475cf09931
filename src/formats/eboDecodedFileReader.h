#pragma once

#include "file/eboFile.h"
#include "formats/DecoderFeed.h"
#include "formats/DecodingOptions.h"
#include "formats/FrameCursor.h"
#include "formats/LockedFile.h"
#include "formats/TrackLength.h"
#include "formats/eboAudioFormatReader.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <memory>

/// What the readers of all decoder libraries have in common: a locked file, a feed from it, a cursor in its
/// stream, and a length. What is left to each is its library.
class eboDecodedFileReader : public eboAudioFormatReader {
public:
    ~eboDecodedFileReader() override;

    void close() override;
    [[nodiscard]] std::uint32_t channelCount() const override { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return sampleRate_; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] bool hasLostData() const override { return hasFailed_ || feed_.hasFailed(); }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override { return length_.announcedFrames(); }
    [[nodiscard]] TrackLength trackLength() const override { return length_; }
    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override;

protected:
    /// Opens and locks the file; see LockedFile.
    /// @param mostBytesPerCall see DecoderFeed
    eboDecodedFileReader(ebo::refptr<eboFile> file, const char* decoder, const DecodingOptions& options,
                         std::int64_t mostBytesPerCall = DecoderFeed::kMostBytesPerCall);

    [[nodiscard]] eboFile& file() const { return *file_; }
    [[nodiscard]] DecoderFeed& feed() { return feed_; }
    [[nodiscard]] const DecodingOptions& options() const { return options_; }

    /// What is read from now on.
    void play(std::unique_ptr<BlockDecoder> decoder, FrameCursor::OpenDecoder reopen, std::uint32_t channels,
              std::uint32_t sampleRate, const TrackLength& length);

    /// Nothing can be read any more.
    void playNothing() { cursor_ = FrameCursor(); }

    [[nodiscard]] BlockDecoder* decoder() const { return cursor_.decoder(); }

    /// FrameCursor::deliver, of which failures are remembered.
    template <typename Use>
    FrameCursor::Delivery deliver(std::int64_t firstFrame, std::int64_t frames, Use use)
    {
        const FrameCursor::Delivery delivery = cursor_.deliver(firstFrame, frames, use);
        hasFailed_ = hasFailed_ || delivery.hasFailed;
        return delivery;
    }

    /// Reads as readInterleaved; nothing where the first sample is not one of a frame.
    FrameCursor::Delivery deliverInterleaved(float* target, std::uint64_t firstSample,
                                             std::uint64_t sampleCount);

private:
    const DecodingOptions options_;
    LockedFile file_;
    DecoderFeed feed_;
    FrameCursor cursor_;
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    TrackLength length_ = TrackLength::failed();
    bool hasFailed_ = false;
};
