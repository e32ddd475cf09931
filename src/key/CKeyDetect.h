#pragma once

#include "key/CKeyAnalysisIf.h"
#include "key/CKeyDetectResult.h"
#include "key/CKeyDetect_If.h"
#include "key/CKeyPreProcess.h"
#include "key/CKeyRecognition.h"
#include "key/CRingBuffer.h"

#include <array>
#include <memory>
#include <vector>

namespace eboKey {

/// The key detector: brings the sound to 8192 Hz, cuts it into blocks of half a second, makes a chroma of
/// each and names its key. Keeps a log of the blocks. A track of less than one block has no key.
///
/// All buffers are made with the object; `process` allocates nothing but, now and then, room in the log.
class CKeyDetect : public CKeyDetect_If {
public:
    static constexpr int kRate = 8192;       ///< Hz, at which the key is looked for.
    static constexpr int kBlockSize = 4096;  ///< Samples at that rate.

    /// As CreateInstance.
    static Status create(std::unique_ptr<CKeyDetect>& instance, int sampleRate, int channels, int flag,
                         float tuningFrequency);

    Status process(const float* interleaved, int frames) override;
    Status process(const float* const* channels, int frames) override;
    Status getRunningKey(KeyResult* result, float* profile) override;
    Status getKey(KeyResult* result, float* profile, int reserved) override;
    Status getResult(CKeyDetectResult* result) override;

private:
    using Chroma = std::array<float, kPitchClasses>;

    CKeyDetect(std::unique_ptr<CKeyPreProcess> preProcess, std::unique_ptr<CKeyAnalysisIf> analysis,
               float tuningFrequency);

    template <typename Samples>
    Status takeBlock(const Samples* samples, int frames);

    void analyzeBlocks();
    void logBlock();

    /// The best key of the smoothed chroma, which is left in `chroma`.
    BestKey runningKey(Chroma& chroma) const;

    const std::unique_ptr<CKeyPreProcess> preProcess_;
    const std::unique_ptr<CKeyAnalysisIf> analysis_;
    CKeyRecognition recognition_;
    CRingBuffer ring_;
    float tuningFrequency_;  // Hz
    std::vector<float> block_;
    std::array<double, kKeys> keySums_{};  // strength of each key, over all blocks
    CKeyDetectResult::KeyArray log_;
};

}  // namespace eboKey
