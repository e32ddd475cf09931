#pragma once

#include <cmath>
#include <cstdint>

/// The octave of tempi that results lie in: from `minBpm`, included, to twice that, excluded.
struct TempoRange {
    explicit TempoRange(std::int32_t minimumTempo)
        : minBpm(static_cast<float>(minimumTempo)), maxBpm(2.0f * minBpm)
    {}

    /// Doubles or halves a tempo until it lies in the range. What is no tempo (0, negative, infinite or not a
    /// number), or cannot reach the range because that is empty, becomes minBpm.
    [[nodiscard]] float fold(float bpm) const
    {
        if (!(minBpm > 0.0f) || !(bpm > 0.0f) || std::isinf(bpm))
            return minBpm;
        while (bpm < minBpm)
            bpm *= 2.0f;
        while (bpm >= maxBpm)
            bpm *= 0.5f;
        return bpm;
    }

    /// The result where nothing is known.
    [[nodiscard]] float middle() const { return (minBpm + maxBpm) * 0.5f; }

    float minBpm;
    float maxBpm;
};
