#include "analysis/BeatDetection.h"

#include "analysis/BarFold.h"
#include "analysis/EboTransientDetection.h"
#include "analysis/PhaseSearch.h"
#include "analysis/TempoScan.h"
#include "analysis/clusterOnsets.h"
#include "analysis/onsetTempo.h"
#include "analysis/saturatedTrunc.h"

#include <array>
#include <cmath>
#include <utility>

namespace {

/// One step of the search: a scan around the best tempo so far.
struct Scan {
    float radius;         ///< BPM to either side.
    std::uint32_t shift;  ///< The fold has steps of a beat divided by 2 to the power of this.
    float fiftyReach;     ///< Five of the 50 tempi to either side of the best; see TempoScan::centroid.
};

constexpr std::array kScans{Scan{2.0f, 4, 20.0f}, Scan{0.2f, 6, 2.0f}};
constexpr double kLeastTotal = 0.1;  // of the scores; below it a scan has found nothing
constexpr std::uint32_t kPhaseShift = 6;
constexpr float kSearchShare = 0.04f;  // of a run's progress; reading the track is the rest

}  // namespace

float roundedTempo(float bpm)
{
    const auto whole = static_cast<float>(std::trunc(static_cast<double>(bpm) + 0.5));
    return std::abs(bpm - whole) < 0.02f ? whole : bpm;
}

BeatDetection::BeatDetection(float sampleRate, std::int32_t minimumTempo)
    : BeatDetection(sampleRate, minimumTempo, std::make_unique<EboTransientDetection>(sampleRate))
{}

BeatDetection::BeatDetection(float sampleRate, std::int32_t minimumTempo,
                             std::unique_ptr<ITransientDetection> transientDetection)
    : sampleRate_(sampleRate), range_(minimumTempo), transientDetection_(std::move(transientDetection)),
      snapTolerance_(sampleRate * 18.0f * 0.001f)
{}

void BeatDetection::analyze(float* bpm, float* offset, StatusCallbackInterface* status)
{
    const TransientMap& onsets = transientDetection_->getTransients();
    if (onsets.size() < 2) {
        *bpm = range_.middle();
        *offset = 0.0f;
        return;
    }
    const ClusterSet all = clusterOnsets(onsets, sampleRate_);
    BarFold barFold(all);
    *bpm = range_.fold(roundedTempo(findTempo(onsets, barFold)));
    StatusCallbackInterface& listener = status != nullptr ? *status : dummyStatus_;
    if (listener.addProgress(kSearchShare))
        *offset = findOffset(*bpm, barFold);
}

float BeatDetection::findTempo(const TransientMap& onsets, BarFold& barFold) const
{
    float center = meanTempoNear(coarseTempo(onsets, range_), onsets, range_);
    for (const Scan& step : kScans) {
        TempoScan scan(center - step.radius, center + step.radius);
        scan.run(barFold, onsets.back().position, step.shift);
        if (static_cast<double>(scan.total()) > kLeastTotal)
            center = scan.centroid(step.fiftyReach);
    }
    return center;
}

float BeatDetection::findOffset(float bpm, BarFold& barFold) const
{
    const ClusterSet& fold = barFold.fold(kPhaseShift, bpm);
    const float phase = fold.size() < 2 ? 0.0f : PhaseSearch(barFold.clusters(), fold.beatPeriod).find(fold);
    const auto beatPeriod = analysis::saturatedTrunc<std::uint32_t>(60.0f / bpm * sampleRate_);
    return snappedToBeat(phase, beatPeriod, snapTolerance_);
}
