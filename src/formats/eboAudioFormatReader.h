#pragma once

#include "formats/TrackLength.h"
#include "formats/eboFormatReader.h"

#include <cstdint>
#include <vector>

/// Gives the sound of a file as float samples from -1.0 to 1.0 at the file's own rate. A frame is one moment
/// in all channels, a sample one moment in one channel; frame 0 is the first that the decoder delivers, with
/// an encoder's priming left out.
///
/// Reads report by a short count, which means the end of the data or a failure; hasLostData tells them apart.
/// Reading on from where the last read ended is the fast way; any other frame costs a seek. A reader is used
/// by one thread at a time.
class eboAudioFormatReader : public eboFormatReader {
public:
    /// Lets go of the file's lock and closes the file. Nothing can be read any more.
    virtual void close() = 0;

    [[nodiscard]] virtual std::uint32_t channelCount() const = 0;

    /// Frames per second.
    [[nodiscard]] virtual std::uint32_t sampleRate() const = 0;

    /// Priming frames that the source tells of, 0 if it tells of none.
    [[nodiscard]] virtual int encoderDelay() const = 0;

    /// Whether the file could not be read where it has sound, because it went away, its disk failed, or
    /// whoever wanted it gave up: what came since may end early or be no sound of it. Stays so.
    [[nodiscard]] virtual bool hasLostData() const { return false; }

    enum class DigestVerdict { kNotCompared, kSame, kDiffers };

    /// How the digest of the sound that the file carries compares with what was decoded. Only of use for a
    /// reader that was asked for it and read from the first frame to the last in sequence; nothing can be
    /// read afterwards.
    [[nodiscard]] virtual DigestVerdict digestVerdict() { return DigestVerdict::kNotCompared; }

    /// Audio streams in the file.
    [[nodiscard]] virtual std::uint32_t audioStreamCount() const = 0;

    /// Reads the index-th audio stream of the file from now on. Nothing changes if that cannot be decoded.
    virtual void selectAudioStream(std::uint32_t index) = 0;

    /// Length in frames as it is announced, the decoder may deliver a little less or more; 2^32 - 1 for that
    /// and everything above, 0 where it could not be found out.
    [[nodiscard]] virtual std::uint32_t length() const = 0;

    /// The same with all that is known about it.
    [[nodiscard]] virtual TrackLength trackLength() const { return TrackLength::stated(length()); }

    /// `length` in samples.
    [[nodiscard]] std::uint64_t sampleCount() const;

    /// Reads interleaved samples; what all other reads stand on.
    /// @param firstSample must be the first of a frame, otherwise nothing is delivered
    /// @return samples delivered
    virtual std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                          std::uint64_t sampleCount) = 0;

    /// Reads into one target per channel. Targets beyond the source's channels are zero-filled over all
    /// `frames`.
    /// @param channels number of targets, 0 for the source's number of channels
    /// @return frames delivered
    virtual std::uint32_t readChannels(float** targets, std::uint32_t firstFrame, std::uint32_t frames,
                                       std::uint32_t channels);

    /// Reads into two targets; a mono source fills both, one of more than two channels delivers nothing.
    /// @return frames delivered
    virtual std::uint32_t readStereoPlanar(float** targets, std::uint32_t firstFrame, std::uint32_t frames);

    /// Reads the mean of all channels; see mixToMono.
    /// @return frames delivered
    virtual std::uint32_t readMono(float* target, std::uint32_t firstFrame, std::uint32_t frames);

private:
    template <typename Consume>
    std::uint32_t readBlocks(std::uint32_t firstFrame, std::uint32_t frames, Consume consume);

    std::vector<float> scratch_;  ///< One block of interleaved samples.
};
