#pragma once

#include "file/eboFileFactory.h"
#include "formats/eboAudioFormatReader.h"
#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/ffmpeg/prepareFfmpeg.h"
#include "formats/flac/flacFileReader.h"
#include "formats/ogg/oggFileReader.h"
#include "runtime/refptr.h"
#include "support/AudioFiles.h"
#include "support/MemoryFile.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Shorthand of the tests of readers.
namespace testsupport {

inline constexpr std::uint32_t kBlockFrames = 16384;

/// A local file, with the locks of all files that are made by this.
inline ebo::refptr<eboFile> localFile(const std::string& path)
{
    static const auto factory = ebo::makeRef<eboFileFactory>();
    return factory->open(path.c_str(), {});
}

/// A reader of a local file.
inline ebo::refptr<ffmpegFileReader> readerOf(const std::string& path)
{
    prepareFfmpeg();
    return ebo::makeRef<ffmpegFileReader>(localFile(path));
}

/// A reader of a file in memory.
inline ebo::refptr<ffmpegFileReader> readerOfBytes(const std::string& name, const std::string& bytes)
{
    prepareFfmpeg();
    return ebo::makeRef<ffmpegFileReader>(ebo::makeRef<MemoryFile>(name, bytes));
}

inline ebo::refptr<flacFileReader> flacReaderOf(const std::string& path)
{
    return ebo::makeRef<flacFileReader>(localFile(path));
}

inline ebo::refptr<flacFileReader> flacReaderOfBytes(const std::string& name, const std::string& bytes)
{
    return ebo::makeRef<flacFileReader>(ebo::makeRef<MemoryFile>(name, bytes));
}

inline ebo::refptr<oggFileReader> oggReaderOf(const std::string& path)
{
    return ebo::makeRef<oggFileReader>(localFile(path));
}

inline ebo::refptr<oggFileReader> oggReaderOfBytes(const std::string& name, const std::string& bytes)
{
    return ebo::makeRef<oggFileReader>(ebo::makeRef<MemoryFile>(name, bytes));
}

/// Interleaved samples of the frames, as many as there are.
inline std::vector<float> read(eboAudioFormatReader& reader, std::uint64_t firstFrame, std::uint64_t frames)
{
    const std::uint64_t channels = reader.channelCount();
    std::vector<float> samples(frames * channels);
    samples.resize(reader.readInterleaved(samples.data(), firstFrame * channels, samples.size()));
    return samples;
}

/// Interleaved samples of the whole file, read block by block until one is short.
inline std::vector<float> readAll(eboAudioFormatReader& reader)
{
    std::vector<float> all;
    for (std::uint64_t frame = 0;; frame += kBlockFrames) {
        const std::vector<float> block = read(reader, frame, kBlockFrames);
        all.insert(all.end(), block.begin(), block.end());
        if (block.size() < std::size_t{kBlockFrames} * reader.channelCount())
            return all;
    }
}

/// The first sample at which the two differ in any bit, or -1.
inline std::ptrdiff_t firstDifference(const std::vector<float>& a, const std::vector<float>& b)
{
    const auto sameBits = [](float x, float y) {
        return std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y);
    };
    const auto [at, other] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), sameBits);
    return at == a.end() && other == b.end() ? -1 : at - a.begin();
}

/// FLAC's scale of samples of so many bits.
inline float flacScale(int bits) { return 1.0f / static_cast<float>((std::int64_t{1} << (bits - 1)) - 1); }

/// Each sample times the scale, in single precision.
inline std::vector<float> scaled(const std::vector<std::int32_t>& samples, float scale)
{
    std::vector<float> result;
    result.reserve(samples.size());
    for (const std::int32_t sample : samples)
        result.push_back(static_cast<float>(sample) * scale);
    return result;
}

/// Vorbis's scale: each sample divided by 32767, in single precision.
inline std::vector<float> vorbisScaled(const std::vector<std::int32_t>& samples)
{
    std::vector<float> result;
    result.reserve(samples.size());
    for (const std::int32_t sample : samples)
        result.push_back(static_cast<float>(sample) / 32767.0f);
    return result;
}

/// The mean of the channels of each frame.
inline std::vector<float> monoOf(const std::vector<float>& interleaved, std::size_t channels)
{
    std::vector<float> mono(interleaved.size() / channels);
    for (std::size_t frame = 0; frame < mono.size(); ++frame) {
        float sum = 0.0f;
        for (std::size_t channel = 0; channel < channels; ++channel)
            sum += interleaved[frame * channels + channel];
        mono[frame] = sum * (1.0f / static_cast<float>(channels));
    }
    return mono;
}

/// The frames of interleaved samples, as many as there are.
inline std::vector<float> slice(const std::vector<float>& interleaved, std::size_t channels,
                                std::size_t firstFrame, std::size_t frames)
{
    const std::size_t first = std::min(firstFrame * channels, interleaved.size());
    const std::size_t last = std::min(first + frames * channels, interleaved.size());
    return {interleaved.begin() + static_cast<std::ptrdiff_t>(first),
            interleaved.begin() + static_cast<std::ptrdiff_t>(last)};
}

}  // namespace testsupport
