#include "analysis/plain/PlainBeatDetection.h"

#include "analysis/OnsetCluster.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace plain {
namespace {

using Clusters = std::map<std::uint64_t, OnsetCluster>;

int rounded(float value) { return static_cast<int>(std::trunc(value + 0.5f)); }

struct Fold {
    std::uint32_t beatPeriod = 0;
    Clusters clusters;
};

struct Scan {
    float low = 0.0f;
    float high = 0.0f;
    std::array<float, 50> scores{};
    float total = 0.0f;
};

class Search {
public:
    Search(const Onsets& onsets, float sampleRate, std::int32_t minimumTempo)
        : onsets_(onsets), sampleRate_(sampleRate), minBpm_(static_cast<float>(minimumTempo)),
          maxBpm_(2.0f * minBpm_)
    {}

    BeatResult run()
    {
        if (onsets_.size() < 2)
            return {(minBpm_ + maxBpm_) * 0.5f, 0.0f};
        makeClusters();
        BeatResult result;
        result.bpm = tempo();
        result.offset = offset(result.bpm);
        return result;
    }

private:
    float fold(float x) const
    {
        while (x < minBpm_)
            x *= 2.0f;
        while (x >= maxBpm_)
            x /= 2.0f;
        return x;
    }

    void makeClusters()
    {
        const auto window = static_cast<std::uint64_t>(sampleRate_ * 55.0f * 0.001f);
        OnsetCluster current{};
        std::uint32_t anchorBit = 0;
        for (const auto& [position, event] : onsets_) {
            const std::uint32_t bit = 1U << event.band;
            if (current.count > 0 && position - current.key <= window) {
                current.bandMask |= bit;
                current.count += 1;
                current.strength += event.strength;
                if (bit > anchorBit) {
                    anchorBit = bit;
                    current.position = current.key = position;
                }
            } else {
                if (current.count > 0)
                    all_[current.key] = current;
                current = {position, position, bit, 1, event.strength};
                anchorBit = bit;
            }
        }
    }

    float coarseTempo() const
    {
        std::vector<float> bins(4000, 0.0f);
        const float range = maxBpm_ - minBpm_;
        for (const auto& [position, event] : onsets_) {
            if (!(event.bpm > maxBpm_ * 3.0f))
                bins[static_cast<std::size_t>((fold(event.bpm) - minBpm_) / range * 4000.0f)] += 1.0f;
        }
        const int half = rounded(8000.0f / range);
        int peak = 0;
        for (int i = 0; i < 4000; ++i) {
            if (bins[static_cast<std::size_t>(i)] > bins[static_cast<std::size_t>(peak)])
                peak = i;
        }
        if (peak - half >= peak + half)
            return 0.0f;
        float sum = 0.0f;
        float weighted = 0.0f;
        for (int i = peak - half; i < peak + half; ++i) {
            const float h = bins[static_cast<std::size_t>((i + 4000) % 4000)];
            sum += h;
            weighted += (minBpm_ + (static_cast<float>(i) / 4000.0f) * range) * h;
        }
        return weighted / (sum + 1e-32f);
    }

    bool hasCompanion(std::uint64_t low, std::uint64_t high) const
    {
        auto it = all_.lower_bound(low);
        if (it == all_.end() || it->first > high)
            return false;
        while (it != all_.end()) {
            if (it->first >= high)
                return true;
            ++it;
        }
        return false;
    }

    Fold foldIntoBar(unsigned shift, float bpm) const
    {
        Fold result;
        result.beatPeriod = static_cast<std::uint32_t>((60.0f / bpm) * sampleRate_);
        const std::uint32_t bar = 4 * result.beatPeriod;
        const std::uint32_t step = result.beatPeriod >> shift;
        for (const auto& [k, c] : all_) {
            if (!hasCompanion(k + bar - step, k + bar + step) &&
                !hasCompanion(k - bar - step, k - bar + step))
                continue;
            const std::uint64_t bin = ((k % bar) / step) * step;
            const auto found = result.clusters.find(bin);
            if (found == result.clusters.end()) {
                result.clusters[bin] = {k, bin, c.bandMask, c.count, c.strength};
                continue;
            }
            OnsetCluster& entry = found->second;
            const float sum = c.strength + entry.strength;
            if (!(entry.strength > sum))
                entry.position = k;
            entry.strength = sum;
            entry.bandMask |= c.bandMask;
            entry.count += c.count;
        }
        return result;
    }

    void scanTempo(Scan& scan, std::uint64_t lastPosition, unsigned shift) const
    {
        for (int i = 0; i < 50; ++i) {
            const float bpm = scan.low + (static_cast<float>(i) / 50.0f) * (scan.high - scan.low);
            const Fold fold = foldIntoBar(shift, bpm);
            const std::uint32_t period = fold.beatPeriod;
            const std::uint32_t step = period >> shift;
            const std::uint32_t width = (step >> 2U) + 1;
            float best = 0.0f;
            for (std::uint32_t phase = 0; phase < period; phase += step) {
                float sum = 0.0f;
                for (std::uint64_t pos = phase; pos <= lastPosition; pos += period) {
                    const std::uint64_t from = pos > width ? pos - width : 0;
                    const auto first = fold.clusters.lower_bound(from);
                    const auto last = fold.clusters.upper_bound(pos + width);
                    if (first == fold.clusters.end() || last == fold.clusters.end() || first == last)
                        continue;
                    for (auto it = first; it != last; ++it)
                        sum += static_cast<float>(it->second.count) * it->second.strength;
                }
                best = std::max(best, sum);
            }
            scan.scores[static_cast<std::size_t>(i)] += best;
            scan.total += best;
        }
    }

    static float centroid(const Scan& scan, int half)
    {
        int peak = 0;
        for (int i = 0; i < 50; ++i) {
            if (scan.scores[static_cast<std::size_t>(i)] > scan.scores[static_cast<std::size_t>(peak)])
                peak = i;
        }
        if (peak - half >= peak + half)
            return 0.0f;
        float sum = 0.0f;
        float weighted = 0.0f;
        for (int i = peak - half; i < peak + half; ++i) {
            const float s = scan.scores[static_cast<std::size_t>((i + 50) % 50)];
            sum += s;
            weighted += (scan.low + (static_cast<float>(i) / 50.0f) * (scan.high - scan.low)) * s;
        }
        return weighted / (sum + 1e-32f);
    }

    float tempo() const
    {
        const float coarse = coarseTempo();
        float weighted = 0.0f;
        float sum = 0.0f;
        for (const auto& [position, event] : onsets_) {
            const float x = fold(event.bpm);
            if (std::abs(x - coarse) < 1.0f) {
                weighted += x * event.strength;
                sum += event.strength;
            }
        }
        float center = sum > 0.0f ? weighted / sum : (minBpm_ + maxBpm_) * 0.5f;
        const std::uint64_t lastPosition = onsets_.rbegin()->first;

        Scan first{center - 2.0f, center + 2.0f};
        scanTempo(first, lastPosition, 4);
        if (static_cast<double>(first.total) > 0.1)
            center = centroid(first, rounded(20.0f / (first.high - first.low)));

        Scan second{center - 0.2f, center + 0.2f};
        scanTempo(second, lastPosition, 6);
        if (static_cast<double>(second.total) > 0.1)
            center = centroid(second, rounded(2.0f / (second.high - second.low)));

        const auto r = static_cast<float>(std::trunc(static_cast<double>(center) + 0.5));
        return fold(std::abs(center - r) < 0.02f ? r : center);
    }

    float phaseScore(std::uint32_t modulus, float phase, float tolerance) const
    {
        float sum = 0.0f;
        const auto m = static_cast<float>(modulus);
        for (const auto& [key, c] : all_) {
            const auto r = static_cast<float>(c.position % modulus);
            if (tolerance > std::abs(r - phase) || tolerance > std::abs(r + m - phase) ||
                tolerance > std::abs(r - m - phase))
                sum += c.strength;
        }
        return sum;
    }

    float phaseOf(const Fold& fold) const
    {
        const std::uint32_t period = fold.beatPeriod;
        const auto p = static_cast<float>(period);

        std::array<float, 64> bins{};
        float peakValue = 0.0f;
        std::uint64_t peakRemainder = 0;
        for (const auto& [key, entry] : fold.clusters) {
            const std::uint64_t r = entry.position % period;
            const auto b = static_cast<std::size_t>(static_cast<float>(r) / p * 64.0f);
            bins[b] += entry.strength;
            if (peakValue < bins[b]) {
                peakValue = bins[b];
                peakRemainder = r;
            }
        }
        const auto peak = static_cast<float>(peakRemainder);
        const float tolerance = sampleRate_ * 0.020000001f;

        float weighted = 0.0f;
        float sum = 0.0f;
        for (const auto& [key, c] : all_) {
            const auto r = static_cast<float>(c.position % period);
            const float d0 = std::abs(r - peak);
            const float d1 = std::abs(r + p - peak);
            const float d2 = std::abs(r - p - peak);
            float candidate;
            float distance;
            if (d0 < d1 && d0 < d2) {
                candidate = r;
                distance = d0;
            } else if (d1 < d2) {
                candidate = r + p;
                distance = d1;
            } else {
                candidate = r - p;
                distance = d2;
            }
            if (tolerance > distance) {
                weighted += c.strength * candidate;
                sum += c.strength;
            }
        }
        const float weightedPhase = weighted / sum;

        float total = 0.0f;
        for (const auto& [key, c] : all_)
            total += c.strength;
        const float mean = total / static_cast<float>(all_.size());
        std::uint64_t strong = 0;
        for (const auto& [key, c] : all_) {
            if (c.strength > mean) {
                strong = key;
                break;
            }
        }

        const float barScoreWeighted = phaseScore(4 * period, weightedPhase, tolerance);
        const float beatScoreStrong = phaseScore(period, static_cast<float>(strong % period), tolerance);
        const float barScoreStrong = phaseScore(4 * period, static_cast<float>(strong % period), tolerance);
        float phase = sum < beatScoreStrong || barScoreWeighted < barScoreStrong ? static_cast<float>(strong)
                                                                                 : weightedPhase;

        const auto first = static_cast<float>(all_.begin()->first);
        const float f = std::fmod(first, p);
        const auto near = static_cast<float>(period >> 3U);
        if (near > std::abs(phase - f) || near > std::abs(phase + p - f) || near > std::abs(phase - p - f)) {
            const double beats = static_cast<double>((first - phase) / p) + 0.5;
            phase += (beats < 0.0 ? 0.0f : static_cast<float>(static_cast<std::uint32_t>(beats))) * p;
        }
        const float bar = p * 4.0f;
        phase = std::fmod(phase, bar);
        return phase < 0.0f ? phase + bar : phase;
    }

    float offset(float bpm) const
    {
        const Fold fold = foldIntoBar(6, bpm);
        float phase = fold.clusters.size() < 2 ? 0.0f : phaseOf(fold);
        const float snapTolerance = sampleRate_ * 18.0f * 0.001f;
        const auto period = static_cast<float>(static_cast<std::uint32_t>((60.0f / bpm) * sampleRate_));
        const float r = std::fmod(phase, period);
        if (r < snapTolerance)
            phase -= r;
        else if (period - r < snapTolerance)
            phase += period - r;
        return std::fmod(phase, 4.0f * period);
    }

    const Onsets& onsets_;
    float sampleRate_;
    float minBpm_;
    float maxBpm_;
    Clusters all_;
};

}  // namespace

BeatResult searchBeats(const Onsets& onsets, float sampleRate, std::int32_t minimumTempo)
{
    return Search(onsets, sampleRate, minimumTempo).run();
}

}  // namespace plain
