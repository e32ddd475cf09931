#pragma once

#include "file/eboFile.h"
#include "formats/LockedFile.h"
#include "formats/eboAudioFormatReader.h"
#include "formats/flac/flacStream.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <memory>

/// Reads FLAC with libFLAC, through an eboFile: inside Ogg if the file's name ends in ".oga", as it is under
/// any other name. A sample of b bits is scaled by 1 / (2^(b-1) - 1). Reading on and seeking agree about
/// every frame.
class flacFileReader : public eboAudioFormatReader {
public:
    /// Opens the file, locks it and reads its head. Where that does not tell the length (a stream that was
    /// written into a pipe), the last block tells it.
    /// @param knownFrames length in frames; 0 if not known
    /// @throws FileUnsupported, and what a refused lock throws (see eboFileLocker)
    explicit flacFileReader(ebo::refptr<eboFile> file, std::uint64_t knownFrames = 0);
    ~flacFileReader() override;

    [[nodiscard]] ebo::refptr<eboFormatReader> clone() override;
    void close() override;
    [[nodiscard]] std::uint32_t channelCount() const override { return channels_; }
    [[nodiscard]] std::uint32_t sampleRate() const override { return sampleRate_; }
    [[nodiscard]] int encoderDelay() const override { return 0; }
    [[nodiscard]] bool hasLostData() const override { return file_->hasLostData(); }
    [[nodiscard]] std::uint32_t audioStreamCount() const override { return 1; }
    void selectAudioStream(std::uint32_t /*index*/) override {}
    [[nodiscard]] std::uint32_t length() const override;
    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override;

private:
    [[nodiscard]] std::unique_ptr<flacStream> openStream() const;

    LockedFile file_;
    std::unique_ptr<flacStream> stream_;  ///< Null once closed.
    std::uint32_t channels_ = 0;
    std::uint32_t sampleRate_ = 0;
    std::uint64_t totalFrames_ = 0;
};
