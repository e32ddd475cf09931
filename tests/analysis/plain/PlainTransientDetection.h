#pragma once

#include "analysis/ITransientDetection.h"

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace plain {

using Onsets = std::multimap<std::uint64_t, TransientEvent>;

/// The transient detection written down as plainly as possible, band after band and sample after sample: what
/// EboTransientDetection has to equal in every bit.
class PlainTransientDetection {
public:
    explicit PlainTransientDetection(float sampleRate);

    void process(const float* samples, std::uint32_t count, std::uint64_t position, RmsInterface* rms);

    [[nodiscard]] const Onsets& onsets() const { return onsets_; }

private:
    struct BandFilter {
        float b0;
        float a1;
        float a2;
        float w1 = 0.0f;
        float w2 = 0.0f;
    };

    void filterFrame(const float* samples);
    void test(unsigned band, std::uint64_t position);

    float sampleRate_;
    std::uint32_t frameSize_;
    std::uint32_t pending_ = 0;
    float minInterval_;
    float decay_;
    std::vector<BandFilter> filters_;
    std::vector<float> frameBuffer_;
    std::array<float, 9> levels_{};
    std::array<float, 9> follower_{};
    std::array<std::uint64_t, 9> lastOnset_{};
    Onsets onsets_;
};

}  // namespace plain
