#pragma once

#include <array>

namespace eboKey {

/// A queue of samples between the pre-processing and the block loop of the key detection. One thread.
/// It holds one float less than its storage, so that full and empty can be told apart.
class CRingBuffer {
public:
    static constexpr int kCapacity = 16384;

    /// Samples that wait to be taken.
    [[nodiscard]] int readable() const { return (writeIndex_ - readIndex_) & kMask; }

    /// Samples that still fit.
    [[nodiscard]] int writable() const { return kMask - readable(); }

    /// Appends as many of the samples as fit. @return how many that were
    int append(const float* samples, int count);

    /// Moves the oldest `count` samples to `target`. @param count at most readable()
    void take(float* target, int count);

private:
    static constexpr int kMask = kCapacity - 1;

    int readIndex_ = 0;
    int writeIndex_ = 0;
    std::array<float, kCapacity> storage_{};
};

}  // namespace eboKey
