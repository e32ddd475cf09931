#pragma once

#include "analysis/TransientMap.h"

#include <cstdint>

class RmsInterface;

/// Turns the sample stream of a track into its list of onsets, while the track is being read. One thread.
class ITransientDetection {
public:
    virtual ~ITransientDetection() = default;

    /// Takes the next samples of the track. Calls `rms` once per detector frame.
    /// @param samples   mono; the buffer behind it holds at least max(16384, getFrameSize()) floats, also
    ///                  when `count` is less: completing a frame may look behind `count`
    /// @param count     samples to take, at most what the buffer holds
    /// @param position  number of the first sample, counted from the start of the track
    virtual void process(const float* samples, std::uint32_t count, std::uint64_t position,
                         RmsInterface* rms) = 0;

    /// Samples in one detector frame.
    [[nodiscard]] virtual std::uint32_t getFrameSize() const = 0;

    /// The onsets so far.
    [[nodiscard]] virtual const TransientMap& getTransients() const = 0;
};
