#pragma once

#include "analysis/BeatAnchorCollection.h"
#include "runtime/refcounted.h"

/// Where the beats of a track lie, at one tempo throughout: two anchors, the first at beat -4 or the start of
/// another bar before sample 0, the last at the first beat at or behind the end. Beat 0 is a downbeat; a bar
/// is four beats. Built and read on the analysing thread; never changed after construction.
class BeatGrid : public ebo::refcounted {
public:
    /// @param sampleRate   Hz
    /// @param sampleCount  length of the track in samples
    /// @param offset       sample position of a downbeat, taken modulo one bar. It is ignored if it, or the
    ///                     first downbeat at or after sample 0 that it means, lies at or behind the end; beat
    ///                     0 is then at sample 1.
    /// @param bpm          tempo, above 0
    BeatGrid(double sampleRate, double sampleCount, double offset, double bpm);

    [[nodiscard]] const BeatAnchorCollection& collection() const { return collection_; }
    [[nodiscard]] double sampleRate() const { return sampleRate_; }
    [[nodiscard]] double sampleCount() const { return sampleCount_; }
    [[nodiscard]] bool isValid() const { return isValid_; }

private:
    void applyOffset(double offset);

    BeatAnchorCollection collection_;
    const double sampleRate_;
    const double sampleCount_;
    const bool isValid_ = true;
};
