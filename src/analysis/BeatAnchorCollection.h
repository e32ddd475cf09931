#pragma once

#include "analysis/BeatAnchor.h"
#include "runtime/refcounted.h"

#include <vector>

/// A piecewise linear map from beat numbers to sample positions: between two anchors the beats are evenly
/// spaced, and the outermost segments go on beyond their anchors. It starts as one segment of four beats,
/// from beat -4 at sample -1 to beat 0 at sample 1. Whoever builds a grid changes it; afterwards it is only
/// read. Positions are in samples, beat numbers are whole, a bar is four beats.
class BeatAnchorCollection : public ebo::refcounted {
public:
    using AnchorIterator = std::vector<BeatAnchor>::const_iterator;

    BeatAnchorCollection();

    /// At least two anchors, in ascending order of position and number.
    [[nodiscard]] const std::vector<BeatAnchor>& anchors() const { return anchors_; }

    /// The anchors as they were when last stored.
    [[nodiscard]] const std::vector<BeatAnchor>& storedAnchors() const { return storedAnchors_; }
    void storeAnchors() { storedAnchors_ = anchors_; }

    /// The anchor that begins the segment of a beat; never the last anchor.
    [[nodiscard]] AnchorIterator getAnchorIteratorBeforeBeatPosition(double beatPosition) const;

    [[nodiscard]] double samplePositionForBeat(double beatPosition) const;

    /// The length of a bar at the start, in samples.
    [[nodiscard]] double firstBarLength() const;

    /// Makes the only segment `beats` beats of `beatLength` samples, starting at `firstPosition`. The first
    /// anchor keeps its number.
    void setOnlySegment(double firstPosition, double beatLength, double beats);

    /// Moves the first anchor in whole bars to the last place before sample 0; no beat of the map moves.
    void moveFirstAnchorBeforeTrack();

    /// Moves the whole map, so that the first anchor comes to lie at a position.
    void moveFirstAnchorTo(double samplePosition);

    /// Moves the last anchor in whole beats, so that it is the first beat at or behind a position.
    void setEndPosition(double samplePosition);

private:
    std::vector<BeatAnchor> anchors_;
    std::vector<BeatAnchor> storedAnchors_;
};
