#pragma once

#include <cstdint>
#include <vector>

namespace eboKey {

/// Follows several values over time, one per channel: their average over the last frames, weighted by a
/// window, and their mean since the start. One thread; nothing allocates after construction.
class CMovingAverage {
public:
    /// Window types. Flat weighs every frame alike. The triangular window of n frames is 0, 2, 4, ... rising
    /// from both ends, so that the newest and the oldest frame do not count. Both are divided by their sum.
    static constexpr int kFlat = 0;
    static constexpr int kTriangular = 1;

    /// @param length      frames in the window, at least 1; of a triangular window that has any weight, 3
    /// @param channels    values per frame, at least 1
    /// @param windowType  kFlat or kTriangular
    CMovingAverage(int length, int channels, int windowType);

    /// Takes the next frame. @param values one per channel
    void push(const float* values);

    /// The mean of all frames so far, one value per channel; 0 before the first.
    [[nodiscard]] const float* means() const { return means_.data(); }

    /// The average of a channel over the last `length()` frames, weighted by the window. The frames before
    /// the first count as 0.
    [[nodiscard]] float movingValue(int channel) const;

    /// The moving values of all channels. @param values room for one per channel
    void movingValues(float* values) const;

    [[nodiscard]] int length() const { return static_cast<int>(window_.size()); }
    [[nodiscard]] int channels() const { return static_cast<int>(means_.size()); }

    /// Frames so far.
    [[nodiscard]] std::int64_t count() const { return count_; }

private:
    std::int64_t count_ = 0;
    std::vector<float> window_;
    std::vector<float> means_;
    std::vector<float> history_;  // the last frames, the oldest first
};

}  // namespace eboKey
