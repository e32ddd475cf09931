#pragma once

#include <cstdint>

namespace synth {

/// White noise from a linear congruential generator (Knuth's MMIX constants): the same sequence for the same
/// seed on every machine and with every compiler.
class Noise {
public:
    explicit Noise(std::uint32_t seed) : state_(seed) { next(); }

    /// The next value, evenly distributed in [-1, 1).
    float next()
    {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        const auto top = static_cast<std::int32_t>(static_cast<std::uint32_t>(state_ >> 40U)) - (1 << 23);
        return static_cast<float>(top) / static_cast<float>(1 << 23);
    }

private:
    std::uint64_t state_;
};

}  // namespace synth
