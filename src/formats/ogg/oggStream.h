#pragma once

#include "formats/BlockDecoder.h"
#include "formats/DecoderFeed.h"

#include <array>
#include <cstddef>
#include <cstdint>

#define OV_EXCLUDE_STATIC_CALLBACKS
#include <vorbis/vorbisfile.h>

/// The sound of the only Vorbis stream of an Ogg file, as the decoder's 16-bit output, with silence in place
/// of lost pages. One thread at a time.
class oggStream : public BlockDecoder {
public:
    /// Reads the file's headers.
    /// @param feed must outlive this object, which moves the file's position
    /// @throws eboFormatReader::FileUnsupported if it is not such a file
    explicit oggStream(DecoderFeed& feed);
    ~oggStream() override;

    oggStream(const oggStream&) = delete;
    oggStream& operator=(const oggStream&) = delete;

    [[nodiscard]] std::uint32_t channels() const { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const { return sampleRate_; }

    /// Length in frames by the time stamps of the file's pages.
    [[nodiscard]] std::int64_t statedFrames() const { return statedFrames_; }

    Step next() override;
    [[nodiscard]] std::int64_t blockFrames() const override { return blockFrames_; }
    [[nodiscard]] std::int64_t blockStart() const override { return blockStart_; }

    /// If the library refuses to go to the frame, this is logged and what comes next passes for it.
    Arrival goTo(std::int64_t frame) override;
    bool interleave(std::int64_t first, std::int64_t count, FrameTarget& target) override;

private:
    static std::size_t onRead(void* buffer, std::size_t itemSize, std::size_t items, void* feed);
    static int onSeek(void* feed, ogg_int64_t offset, int whence);
    static long onTell(void* feed);

    bool open();
    void close();
    bool survives(long result);
    void setBlock(std::int64_t frames);

    // 4096 bytes: a long block of usual stereo files.
    static constexpr std::size_t kBlockSamples = 2048;

    DecoderFeed& feed_;
    bool isOpen_ = false;      ///< No longer when the decoder has failed for good.
    OggVorbis_File vorbis_{};  ///< Of use while isOpen_.
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    std::int64_t statedFrames_ = 0;
    std::array<std::int16_t, kBlockSamples> samples_{};
    std::int64_t blockFrames_ = 0;
    std::int64_t blockStart_ = kUnknownFrame;
    std::int64_t decodedFrames_ = 0;  ///< In samples_.
    bool isSilence_ = false;          ///< The block is silence for lost pages, and samples_ come after it.
    bool hasHole_ = false;            ///< Pages are missing, how much is not known yet.
    std::int64_t position_ = 0;       ///< The frame behind the block, by our own count.
};
