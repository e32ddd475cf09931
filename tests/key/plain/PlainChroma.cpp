#include "key/plain/PlainChroma.h"

#include "key/plainTransform.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace plain {

namespace {

constexpr int kLength = 8192;
constexpr int kBins = kLength / 2;
constexpr double kRate = 8192;

std::vector<double> magnitudes(const std::vector<double>& signal)
{
    std::vector<std::complex<double>> windowed(kLength);
    for (std::size_t i = 0; i < kLength; ++i) {
        const double turn = (static_cast<double>(i) + 1) / (kLength + 1);
        windowed[i] = signal[i] * (1 - std::cos(2 * std::numbers::pi * turn)) / 2;
    }
    const auto spectrum = testsupport::plainTransform(windowed);
    std::vector<double> result(kBins);
    for (std::size_t k = 0; k < kBins; ++k)
        result[k] = std::abs(spectrum[k]);
    return result;
}

/// Relative to the strongest bin, which gets ln 15; what is weaker than a fifteenth of it gets 0.
std::vector<double> logarithmic(std::vector<double> values)
{
    double strongest = 0;
    for (const double value : values)
        strongest = std::max(strongest, value);
    for (double& value : values) {
        value = strongest <= 1e-37 ? 0 : value * 15 / strongest;
        value = std::log(std::max(value, 1.0));
    }
    return values;
}

Chroma folded(std::vector<double> spectrum, double tuningFrequency)
{
    Chroma chroma{};
    double centre = tuningFrequency * 110 / 440 / kRate * kLength;
    for (std::size_t note = 0; note < 48; ++note, centre *= 1.0594631) {
        const double low = centre / 1.0293022;
        const double high = centre * 1.0293022;
        double peak = -1;
        int peakBin = -1;
        int first = -1;
        int last = -1;
        for (int bin = 0; bin < kBins; ++bin) {
            if (bin < low || bin > high)
                continue;
            if (first < 0)
                first = bin;
            last = bin;
            double& value = spectrum[static_cast<std::size_t>(bin)];
            value *= bin <= centre ? (bin - low) / (centre - low) : (high - bin) / (high - centre);
            if (value > peak) {
                peak = value;
                peakBin = bin;
            }
        }
        const auto valueAt = [&spectrum](int bin) { return spectrum[static_cast<std::size_t>(bin)]; };
        const bool slopeBelow = peakBin == first && valueAt(first - 1) > peak;
        const bool slopeAbove = peakBin == last && valueAt(last + 1) > peak;
        if (!slopeBelow && !slopeAbove)
            chroma[note % 12] += peak;
    }
    return dividedBySum(chroma);
}

}  // namespace

Chroma dividedBySum(Chroma chroma)
{
    double sum = 0;
    for (const double value : chroma)
        sum += value;
    for (double& value : chroma)
        value = sum != 0 ? value / sum : value;
    return chroma;
}

Chroma PlainChroma::process(const std::vector<float>& block, double tuningFrequency)
{
    std::vector<double> signal = before_;
    signal.insert(signal.end(), block.begin(), block.end());
    before_.assign(block.begin(), block.end());

    double energy = 0;
    for (const double sample : signal)
        energy += sample * sample / kLength;
    Chroma chroma{};
    if (energy >= 1e-8)
        chroma = folded(logarithmic(magnitudes(signal)), tuningFrequency);
    all_.push_back(chroma);
    return chroma;
}

Chroma PlainChroma::smoothed() const
{
    Chroma result{};
    for (std::size_t age = 0; age < 15 && age < all_.size(); ++age)
        for (std::size_t i = 0; i < 12; ++i)
            result[i] += all_[all_.size() - 1 - age][i] / 15;
    return result;
}

Chroma PlainChroma::mean() const
{
    Chroma result{};
    for (const Chroma& chroma : all_)
        for (std::size_t i = 0; i < 12; ++i)
            result[i] += chroma[i] / static_cast<double>(all_.size());
    return result;
}

}  // namespace plain
