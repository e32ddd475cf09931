#pragma once

#include "formats/FaultyFile.h"
#include "formats/eboAudioFormatReader.h"
#include "runtime/refptr.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What every target of a reader does with a file that was opened: reads on, and then in places, in every
/// way that there is.
inline void readHereAndThere(eboAudioFormatReader& reader)
{
    constexpr std::uint32_t kBlockFrames = 16384;
    constexpr std::uint32_t kMostFrames = 8 * kBlockFrames;
    std::vector<float> mono(kBlockFrames);
    for (std::uint32_t frame = 0; frame < kMostFrames; frame += kBlockFrames) {
        if (reader.readMono(mono.data(), frame, kBlockFrames) < kBlockFrames)
            break;
    }
    constexpr std::uint32_t kFewFrames = 100;
    std::vector<float> left(kFewFrames);
    std::vector<float> right(kFewFrames);
    std::vector<float> interleaved(std::size_t{kFewFrames} * reader.channelCount());
    float* const planes[] = {left.data(), right.data()};
    for (const std::uint32_t frame : {reader.length() / 2, 1000U, 4294967295U, 0U}) {
        reader.readMono(mono.data(), frame, kFewFrames);
        reader.readStereoPlanar(const_cast<float**>(planes), frame, kFewFrames);
        reader.readInterleaved(interleaved.data(), std::uint64_t{frame} * reader.channelCount(),
                               interleaved.size());
    }
}

/// Opens the file by makeReader(file), reads it, then a clone of it; and once more as a file that fails at a
/// byte, which the input chooses.
template <typename MakeReader>
void readWholeAndFailing(const char* name, const std::string& bytes, MakeReader makeReader)
{
    const auto readAll = [&](const ebo::refptr<eboFile>& file) {
        try {
            const auto reader = makeReader(file);
            readHereAndThere(*reader);
            const auto clone = ebo::dynamicCast<eboAudioFormatReader>(reader->clone());
            readHereAndThere(*clone);
        } catch (const eboFormatReader::FileUnsupported&) {
            return;
        }
    };
    readAll(ebo::makeRef<testsupport::MemoryFile>(name, bytes));
    if (bytes.empty())
        return;
    std::size_t failAt = 0;
    for (const char byte : bytes)
        failAt = failAt * 31 + static_cast<unsigned char>(byte);
    const auto failing = ebo::makeRef<testsupport::FaultyFile>(name, bytes);
    failing->failAt = static_cast<std::int64_t>(failAt % bytes.size());
    readAll(failing);
}
