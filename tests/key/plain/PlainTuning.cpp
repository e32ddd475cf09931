#include "key/plain/PlainTuning.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

namespace plain {

namespace {

constexpr double kRate = 8192;
constexpr int kHop = 256;

}  // namespace

void PlainTuning::design(double tuningFrequency)
{
    for (std::size_t i = 0; i < filters_.size(); ++i) {
        const std::size_t semitone = i / 3;
        const double height = std::pow(1.0594631, static_cast<double>(semitone));
        const double side = static_cast<double>(i % 3) - 1;
        const double frequency = tuningFrequency / 2 * height + side * 1.6 * height;
        const double r = std::exp(-1.6 * std::numbers::pi / kRate * height);
        const double w = 2 * std::numbers::pi * frequency / kRate;
        Filter& filter = filters_[i];
        filter.a1 = 2 * r * std::cos(w);
        filter.a2 = -r * r;
        // The response of the poles at the frequency itself, inverted.
        const auto z = std::polar(1.0, -w);
        filter.gain = std::abs(1.0 - filter.a1 * z - filter.a2 * z * z);
    }
}

double PlainTuning::listen(const float* hop)
{
    std::array<double, 3> levels{};
    for (std::size_t i = 0; i < filters_.size(); ++i) {
        Filter& filter = filters_[i];
        for (int n = 0; n < kHop; ++n) {
            const double y = double{hop[n]} * filter.gain + filter.y1 * filter.a1 + filter.y2 * filter.a2;
            filter.y2 = filter.y1;
            filter.y1 = y;
            filter.envelope = 0.95 * filter.envelope + 0.05 * std::abs(y);
        }
        levels[i % 3] += filter.envelope;
    }
    const double sum = levels[0] + levels[1] + levels[2];
    return sum == 0 ? 0 : (levels[2] - levels[0]) / sum;
}

}  // namespace plain
