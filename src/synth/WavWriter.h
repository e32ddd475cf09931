#pragma once

#include <cstdint>
#include <fstream>
#include <span>
#include <string>

namespace synth {

enum class SampleFormat { kPcm16, kFloat32 };

/// Writes a WAV file (RIFF, little-endian) piece by piece, so that hours need no memory. One thread.
class WavWriter {
public:
    /// Opens the file, replacing an existing one.
    WavWriter(const std::string& path, unsigned channels, unsigned sampleRate, SampleFormat format);

    /// Closes the file if that has not been done.
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    /// Appends interleaved samples. With kPcm16, values beyond full scale are clipped.
    /// @return false if the file cannot be written or would pass the format's limit of 4 GiB
    bool write(std::span<const float> interleaved);

    /// Completes the sizes in the header. @return whether the whole file was written well
    bool close();

private:
    void writeHeader();

    std::ofstream file_;
    const unsigned channels_;
    const unsigned sampleRate_;  // Hz
    const SampleFormat format_;
    std::uint64_t dataBytes_ = 0;
    bool good_;
};

/// Writes a whole WAV file. @return whether it was written well
bool writeWav(const std::string& path, std::span<const float> interleaved, unsigned channels,
              unsigned sampleRate, SampleFormat format);

}  // namespace synth
