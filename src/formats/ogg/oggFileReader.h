#pragma once

#include "file/eboFile.h"
#include "formats/DecoderFeed.h"
#include "formats/LockedFile.h"
#include "formats/eboAudioFormatReader.h"
#include "runtime/refptr.h"

#include <cstddef>
#include <cstdint>

#define OV_EXCLUDE_STATIC_CALLBACKS
#include <vorbis/vorbisfile.h>

/// Reads Ogg Vorbis with libvorbisfile, through an eboFile. Takes the decoder's 16-bit output, v / 32767, so
/// that the loudest negative sample lies a little below -1.0. Reading on and seeking agree about every frame.
class oggFileReader : public eboAudioFormatReader {
public:
    /// Opens the file, locks it and reads its headers.
    /// @throws FileUnsupported, also for chained files (several streams one behind the other), and what a
    ///         refused lock throws (see eboFileLocker)
    explicit oggFileReader(ebo::refptr<eboFile> file);
    ~oggFileReader() override;

    [[nodiscard]] ebo::refptr<eboFormatReader> clone() override;
    void close() override;
    [[nodiscard]] std::uint32_t channelCount() const override { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return sampleRate_; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] bool hasLostData() const override { return file_->hasLostData(); }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override { return length_; }

    /// If the decoder refuses to go to the frame, this is logged and the read goes on from where it stands.
    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override;

private:
    static std::size_t onRead(void* buffer, std::size_t itemSize, std::size_t items, void* feed);
    static int onSeek(void* feed, ogg_int64_t offset, int whence);
    static long onTell(void* feed);

    bool open();
    void closeDecoder();
    void goTo(std::int64_t frame);
    long decode(std::int16_t* samples, std::size_t count);
    bool survives(long result);

    LockedFile file_;
    DecoderFeed feed_;
    bool isOpen_ = false;      ///< No longer after `close`, or when the decoder has failed for good.
    OggVorbis_File vorbis_{};  ///< Of use while isOpen_.
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    std::uint32_t length_ = 0;
};
