#pragma once

#include "key/keyStatus.h"

#include <memory>

namespace eboKey {

/// An equaliser: one filter for each channel of a stream. One thread; nothing allocates after construction.
class CEqIf {
public:
    /// Filter types.
    static constexpr int kHighPass = 4;

    virtual ~CEqIf() = default;

    /// Filters the next frames. @param in, out interleaved; may be the same buffer
    virtual void process(const float* in, float* out, int frames) = 0;

    /// Filters the next frames. @param in, out one pointer per channel; may be the same buffers
    virtual void process(const float* const* in, float* const* out, int frames) = 0;

    /// Sets what the filter is designed from, at the start of the next `process`.
    /// @param frequency  Hz
    /// @param gain       dB; of no effect on a high-pass filter
    /// @param q          quality; of no effect on a high-pass filter, whose quality is that of Butterworth
    virtual void setParam(float frequency, float gain, float q) = 0;

    /// What setParam has set; the defaults are half the sample rate, 0 dB and 1.
    virtual void getParam(float* frequency, float* gain, float* q) const = 0;

    /// Whether the frequency is so low that the input passes unchanged. As of the last `process`.
    [[nodiscard]] virtual bool isBypassed() const = 0;

    /// Forgets the signal, as at the start of a stream. The parameters stay.
    virtual void reset() = 0;

    /// @param type        kHighPass
    /// @param sampleRate  Hz
    /// @return kInvalidArgument, also for other types, or kOutOfMemory, with `instance` null
    static Status create(std::unique_ptr<CEqIf>& instance, int channels, int type, float sampleRate);
};

}  // namespace eboKey
