#pragma once

#include "formats/eboAudioFormatReader.h"

#include <cstdint>
#include <vector>

/// What every target of a reader does with a file that was opened: reads on, and then in places.
inline void readHereAndThere(eboAudioFormatReader& reader)
{
    constexpr std::uint32_t kBlockFrames = 16384;
    constexpr std::uint32_t kMostFrames = 8 * kBlockFrames;
    std::vector<float> mono(kBlockFrames);
    for (std::uint32_t frame = 0; frame < kMostFrames; frame += kBlockFrames) {
        if (reader.readMono(mono.data(), frame, kBlockFrames) < kBlockFrames)
            break;
    }
    for (const std::uint32_t frame : {reader.length() / 2, 1000U, 4294967295U, 0U})
        reader.readMono(mono.data(), frame, 100);
}
