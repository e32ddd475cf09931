#pragma once

#include <array>
#include <cstdint>

class BarFold;
struct ClusterSet;

/// Tries 50 tempi in a window and measures at each how well the clusters of a track, folded into one bar,
/// line up on the beats.
class TempoScan {
public:
    /// @param low, high  the window in BPM
    TempoScan(float low, float high) : low_(low), high_(high) {}

    /// Scores all tempi.
    /// @param lastPosition  position of the track's last onset, in samples
    /// @param shift         the fold has steps of a beat divided by 2 to the power of this
    void run(BarFold& fold, std::uint64_t lastPosition, std::uint32_t shift);

    /// The mean tempo around the best score, weighted by the scores, in BPM.
    /// @param fiftyReach  how far to go to either side of the best, in BPM times 50
    [[nodiscard]] float centroid(float fiftyReach) const;

    /// The sum of the scores. 0 means that nothing lined up anywhere.
    [[nodiscard]] float total() const { return total_; }

private:
    static constexpr int kSteps = 50;

    [[nodiscard]] float tempoAt(int step) const;

    float low_;
    float high_;
    std::array<float, kSteps> scores_{};
    float total_ = 0.0f;
};

/// How strong the best-placed train of beats is in a fold: for each phase, in steps of a beat divided by 2 to
/// the power of `shift`, the sum of count times strength of what lies within a quarter step of its beats.
/// @param lastPosition  no beat after this counts
[[nodiscard]] float bestBeatTrain(const ClusterSet& fold, std::uint64_t lastPosition, std::uint32_t shift);
