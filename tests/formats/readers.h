#pragma once

#include "file/eboFileFactory.h"
#include "formats/ffmpegFileReader.h"
#include "formats/prepareFfmpeg.h"
#include "runtime/refptr.h"
#include "support/AudioFiles.h"
#include "support/MemoryFile.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Shorthand of the tests of the FFmpeg reader.
namespace testsupport {

inline constexpr std::uint32_t kBlockFrames = 16384;

/// A local file, with the locks of all files that are made by this.
inline ebo::refptr<eboFile> localFile(const std::string& path)
{
    static const auto factory = ebo::makeRef<eboFileFactory>();
    return factory->open(path.c_str(), 0);
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

/// Interleaved samples of the frames, as many as there are.
inline std::vector<float> read(ffmpegFileReader& reader, std::uint64_t firstFrame, std::uint64_t frames)
{
    const std::uint64_t channels = reader.channelCount();
    std::vector<float> samples(frames * channels);
    samples.resize(reader.readInterleaved(samples.data(), firstFrame * channels, samples.size()));
    return samples;
}

/// Interleaved samples of the whole file, read block by block until one is short.
inline std::vector<float> readAll(ffmpegFileReader& reader)
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

}  // namespace testsupport
