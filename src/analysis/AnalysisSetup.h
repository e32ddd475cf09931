#pragma once

#include <cstdint>

/// What an Analysis needs to know about its track and its task.
struct AnalysisSetup {
    double sampleRate;           ///< Hz; transientFrameSize of it is above 0.
    std::int32_t sampleCount;    ///< Length of the track in samples, as the reader announces it.
    std::int32_t minimumBpm;     ///< Lower end of the tempo range; at least 3.
    bool detectKey;              ///< Whether a key is wanted.
    std::uint32_t overviewSize;  ///< Entries of the overview wave.
};
