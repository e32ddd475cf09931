#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <vector>

namespace testsupport {

/// The discrete Fourier transform in double precision, by halves. @param signal its length is a power of two
inline std::vector<std::complex<double>> plainTransform(const std::vector<std::complex<double>>& signal)
{
    const std::size_t n = signal.size();
    if (n == 1)
        return signal;
    std::vector<std::complex<double>> even;
    std::vector<std::complex<double>> odd;
    for (std::size_t i = 0; i < n; i += 2) {
        even.push_back(signal[i]);
        odd.push_back(signal[i + 1]);
    }
    even = plainTransform(even);
    odd = plainTransform(odd);
    std::vector<std::complex<double>> result(n);
    for (std::size_t k = 0; k < n / 2; ++k) {
        const double angle = -2.0 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(n);
        const std::complex<double> turned = std::polar(1.0, angle) * odd[k];
        result[k] = even[k] + turned;
        result[k + n / 2] = even[k] - turned;
    }
    return result;
}

}  // namespace testsupport
