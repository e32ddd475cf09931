#pragma once

#include "key/CEqIf.h"
#include "key/CResample_If.h"
#include "key/CRingBuffer.h"
#include "key/keyStatus.h"

#include <memory>
#include <vector>

namespace eboKey {

/// Brings any input to what the key analysis works on: mono, at one low sample rate, without what lies below
/// 75 Hz. One thread; nothing allocates after construction.
///
/// Inputs are finite, though perhaps as large as floats go; mixing, resampling and filtering can make
/// infinities of them. What leaves is within kLargestOutput: anything else is replaced by 0, and at the end
/// of its block the filter starts afresh.
class CKeyPreProcess {
public:
    static constexpr float kCutOff = 75.0f;  // Hz

    /// With this the squares of a spectrum of some ten thousand samples stay below the largest float.
    static constexpr float kLargestOutput = 1e15f;

    /// @param inputRate         Hz, at least that of the output
    /// @param outputRate        Hz
    /// @param channels          of the input, at least 1
    /// @param maxBlock          the most frames that one call of `process` takes
    /// @param useFastResampler  0 for the band-limited resampler, otherwise the cheap one
    /// @return kSampleRateTooLow, kInvalidArgument, or kOutOfMemory if a part cannot be made, each with
    ///         `instance` null
    static Status create(std::unique_ptr<CKeyPreProcess>& instance, int inputRate, int outputRate,
                         int channels, int maxBlock, int useFastResampler);

    CKeyPreProcess(int channels, int maxBlock, std::unique_ptr<CResample_If> resampler,
                   std::unique_ptr<CEqIf> eq);
    virtual ~CKeyPreProcess() = default;

    /// Processes the next frames of interleaved samples and appends the result to the ring, as much as fits.
    /// What does not fit waits here for appendRest, which the caller uses until it has nothing left before it
    /// comes with the next block. A block that comes when there is still no room for what waits is not taken,
    /// and neither is one of more than the maxBlock frames.
    /// @param frames  in: input frames; out: output frames made of them, also those that wait; 0 if the block
    ///                was not taken
    void process(const float* interleaved, CRingBuffer& ring, int* frames);

    /// The same with one pointer per channel.
    void process(const float* const* channels, CRingBuffer& ring, int* frames);

    /// Appends what did not fit before, as much as fits now, in order. @return how many samples that were
    int appendRest(CRingBuffer& ring);

private:
    [[nodiscard]] bool accepts(CRingBuffer& ring, int frames);
    [[nodiscard]] int processMono(const float* mono, CRingBuffer& ring, int frames);
    void removeOverflow(int frames);

    const int channels_;
    const int maxBlock_;  // frames
    const std::unique_ptr<CResample_If> resampler_;
    const std::unique_ptr<CEqIf> eq_;
    std::vector<float> mix_;     // mono at the input's rate; empty if there is nothing to mix
    std::vector<float> output_;  // of the last block; from restBegin_ to restEnd_ it waits
    int restBegin_ = 0;
    int restEnd_ = 0;
};

}  // namespace eboKey
