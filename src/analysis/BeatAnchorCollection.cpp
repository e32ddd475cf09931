#include "analysis/BeatAnchorCollection.h"

#include "analysis/saturatedTrunc.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr double kBeatsPerBar = 4.0;

double beatLengthFrom(const BeatAnchor& anchor, const BeatAnchor& next)
{
    return (next.samplePosition - anchor.samplePosition) / anchor.beatsToNext;
}

std::int64_t wholeNumber(double value) { return analysis::saturatedTrunc<std::int64_t>(value); }

/// `number` moved back by `beats`, wrapping round instead of overflowing where a tempo makes no sense.
std::int64_t movedBack(std::int64_t number, std::int64_t beats)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(number) - static_cast<std::uint64_t>(beats));
}

}  // namespace

BeatAnchorCollection::BeatAnchorCollection()
    : anchors_{{.samplePosition = -1.0, .beatNumber = -4, .beatsToNext = 4},
               {.samplePosition = 1.0, .beatNumber = 0, .beatsToNext = 0}},
      storedAnchors_(anchors_)
{}

BeatAnchorCollection::AnchorIterator
BeatAnchorCollection::getAnchorIteratorBeforeBeatPosition(double beatPosition) const
{
    const auto numberOf = [](const BeatAnchor& anchor) { return static_cast<double>(anchor.beatNumber); };
    const auto lastSegment = anchors_.end() - 2;
    if (!(numberOf(anchors_.front()) < beatPosition))
        return anchors_.begin();
    if (numberOf(*lastSegment) < beatPosition)
        return lastSegment;
    const auto behind = std::upper_bound(
        anchors_.begin(), lastSegment + 1, beatPosition,
        [numberOf](double position, const BeatAnchor& anchor) { return position < numberOf(anchor); });
    return std::prev(behind);
}

double BeatAnchorCollection::samplePositionForBeat(double beatPosition) const
{
    const auto anchor = getAnchorIteratorBeforeBeatPosition(beatPosition);
    return anchor->samplePosition + beatLengthFrom(*anchor, *std::next(anchor)) *
                                        (beatPosition - static_cast<double>(anchor->beatNumber));
}

double BeatAnchorCollection::firstBarLength() const
{
    return beatLengthFrom(anchors_[0], anchors_[1]) * kBeatsPerBar;
}

void BeatAnchorCollection::setOnlySegment(double firstPosition, double beatLength, double beats)
{
    BeatAnchor& first = anchors_.front();
    BeatAnchor& last = anchors_.back();
    first.samplePosition = firstPosition;
    first.beatsToNext = analysis::saturatedTrunc<std::uint32_t>(beats);
    last.beatNumber = wholeNumber(static_cast<double>(first.beatNumber) + beats);
    last.samplePosition = first.samplePosition + beats * beatLength;
}

void BeatAnchorCollection::moveFirstAnchorBeforeTrack()
{
    BeatAnchor& first = anchors_.front();
    const double bar = firstBarLength();
    double position = std::fmod(first.samplePosition, bar);
    if (position >= 0.0)
        position -= bar;

    const double shift = position - first.samplePosition;
    const std::int64_t beats = wholeNumber(kBeatsPerBar * std::floor(shift / bar));
    first.samplePosition += shift;
    first.beatsToNext -= static_cast<std::uint32_t>(beats);
    for (auto anchor = anchors_.begin() + 1; anchor != anchors_.end(); ++anchor)
        anchor->beatNumber = movedBack(anchor->beatNumber, beats);
}

void BeatAnchorCollection::moveFirstAnchorTo(double samplePosition)
{
    const double distance = samplePosition - anchors_.front().samplePosition;
    for (auto anchor = anchors_.begin() + 1; anchor != anchors_.end(); ++anchor)
        anchor->samplePosition += distance;
    anchors_.front().samplePosition = samplePosition;
}

void BeatAnchorCollection::setEndPosition(double samplePosition)
{
    BeatAnchor& beforeLast = anchors_[anchors_.size() - 2];
    BeatAnchor& last = anchors_.back();
    const double beatLength = beatLengthFrom(beforeLast, last);
    const double beats = std::floor((last.samplePosition - samplePosition) / beatLength);
    last.samplePosition -= beats * beatLength;
    beforeLast.beatsToNext = analysis::saturatedTrunc<std::uint32_t>(beforeLast.beatsToNext - beats);
    last.beatNumber = movedBack(last.beatNumber, wholeNumber(beats));
}
