#pragma once

#include "key/keyStatus.h"

#include <memory>

namespace eboKey {

/// Turns music, mono and block by block, into chroma: how strong each of the twelve pitch classes is, A
/// first. Follows the tuning of the music on the way. One thread; nothing allocates after construction.
class CKeyAnalysisIf {
public:
    virtual ~CKeyAnalysisIf() = default;

    /// Analyses the next block.
    /// @param block   finite samples; their squares' sum is finite as well
    /// @param count   samples, at most the block size. A shorter block counts as followed by silence; what it
    ///                has behind the last whole hop does not count for the tuning.
    /// @param chroma  becomes the chroma averaged over the last blocks, twelve values
    /// @return the tuning frequency, Hz
    virtual float process(const float* block, int count, float* chroma) = 0;

    /// The chroma averaged over the last blocks; the twelve values have the sum 1, or are all 0.
    virtual void getChroma(float* chroma) const = 0;

    /// The mean chroma of all blocks; the twelve values have the sum 1, or are all 0.
    virtual void getMeanChroma(float* chroma) const = 0;

    /// How far the averaged chroma lags behind the end of the music so far, seconds.
    [[nodiscard]] virtual float getLatency() const = 0;

    /// Places the notes in the spectrum by the tuning frequency. `process` does it by itself.
    virtual void updateNoteBins() = 0;

    /// @param sampleRate       Hz
    /// @param blockSize        samples, a power of two
    /// @param octaves          from the A two octaves below the tuning frequency upwards; the highest must
    ///                         end below half the sample rate
    /// @param tuningFrequency  where the tuning begins, Hz
    /// @return kInvalidArgument or kOutOfMemory, with `instance` null
    static Status create(std::unique_ptr<CKeyAnalysisIf>& instance, int sampleRate, int blockSize,
                         int octaves, float tuningFrequency);
};

}  // namespace eboKey
