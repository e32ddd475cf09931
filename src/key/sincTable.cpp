#include "key/sincTable.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

constexpr double kKaiserBeta = 9.0;

/// The modified Bessel function of the first kind and order 0, by its power series.
double besselI0(double x)
{
    constexpr double kNegligible = 1e-21;
    const double quarterSquare = x * x * 0.25;
    double sum = 1.0;
    double term = 1.0;
    for (double n = 1.0; term >= kNegligible * sum; n += 1.0) {
        term *= quarterSquare / (n * n);
        sum += term;
    }
    return sum;
}

/// @param x  in zero crossings of the sinc that fills the whole band
double filteredSinc(double x, double rolloff)
{
    const double angle = std::numbers::pi * x;
    return x == 0.0 ? rolloff : std::sin(angle * rolloff) / angle;
}

}  // namespace

namespace eboDsp {

std::vector<SincEntry> sincTable(int quality)
{
    const double rolloff = quality * 0.025 * 0.03125 + 0.9;
    const auto length = static_cast<std::size_t>(quality) * kSincEntriesPerCrossing;
    std::vector<double> values;
    values.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        const double fromMiddle = static_cast<double>(i) / static_cast<double>(length - 1);
        const double window =
            besselI0(kKaiserBeta * std::sqrt(1.0 - fromMiddle * fromMiddle)) / besselI0(kKaiserBeta);
        values.push_back(filteredSinc(static_cast<double>(i) / kSincEntriesPerCrossing, rolloff) * window);
    }

    std::vector<SincEntry> table;
    table.reserve(length);
    for (std::size_t i = 0; i < length; ++i) {
        const double next = i + 1 < length ? values[i + 1] : values[i];
        table.push_back({static_cast<float>(values[i]), static_cast<float>(next - values[i])});
    }
    return table;
}

}  // namespace eboDsp
