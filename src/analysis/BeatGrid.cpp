#include "analysis/BeatGrid.h"

#include "analysis/exactSamplePosition.h"

#include <cmath>

BeatGrid::BeatGrid(double sampleRate, double sampleCount, double offset, double bpm)
    : sampleRate_(sampleRate), sampleCount_(sampleCount)
{
    const double beatZero = exactSamplePosition(collection_.samplePositionForBeat(0.0));
    const double beatLength = 60.0 / bpm * sampleRate;
    const double startPosition = collection_.anchors().front().samplePosition;
    const double beats = std::trunc((sampleCount - startPosition) / beatLength) + 1.0;
    collection_.setOnlySegment(beatZero - 4.0 * beatLength, beatLength, beats);
    collection_.moveFirstAnchorBeforeTrack();
    collection_.setEndPosition(sampleCount);
    applyOffset(offset);
    collection_.storeAnchors();
}

void BeatGrid::applyOffset(double offset)
{
    if (sampleCount_ <= offset)
        return;
    const double bar = collection_.firstBarLength();
    double firstPosition = std::fmod(offset, bar);
    if (firstPosition >= 0.0)
        firstPosition -= bar;
    if (sampleCount_ > bar + firstPosition) {
        collection_.moveFirstAnchorTo(firstPosition);
        collection_.setEndPosition(sampleCount_);
    }
}
