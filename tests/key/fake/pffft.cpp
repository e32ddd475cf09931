#include "pffft.h"

#include "../plainTransform.h"

#include <complex>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <vector>

struct PFFFT_Setup {
    std::size_t length;
};

namespace {

constexpr std::size_t kAlignment = 64;

void demand(bool met, const char* what)
{
    if (!met)
        throw std::logic_error(what);
}

bool isAligned(const float* buffer) { return reinterpret_cast<std::uintptr_t>(buffer) % kAlignment == 0; }

}  // namespace

PFFFT_Setup* pffft_new_setup(int N, pffft_transform_t transform)
{
    demand(transform == PFFFT_REAL && N > 0 && N % 32 == 0, "a real transform has a multiple of 32 samples");
    return new PFFFT_Setup{static_cast<std::size_t>(N)};
}

void pffft_destroy_setup(PFFFT_Setup* setup) { delete setup; }

void pffft_transform_ordered(PFFFT_Setup* setup, const float* input, float* output, float* work,
                             pffft_direction_t direction)
{
    demand(isAligned(input) && isAligned(output) && isAligned(work), "buffers are aligned");
    const std::size_t n = setup->length;
    std::vector<std::complex<double>> values(n);
    if (direction == PFFFT_FORWARD) {
        values.assign(input, input + n);
        values = testsupport::plainTransform(values);
        for (std::size_t k = 1; k < n / 2; ++k) {
            output[2 * k] = static_cast<float>(values[k].real());
            output[2 * k + 1] = static_cast<float>(values[k].imag());
        }
        output[0] = static_cast<float>(values[0].real());
        output[1] = static_cast<float>(values[n / 2].real());
        return;
    }
    // The inverse is the transform of the mirrored bins.
    values[0] = input[0];
    values[n / 2] = input[1];
    for (std::size_t k = 1; k < n / 2; ++k) {
        const std::complex<double> bin(input[2 * k], input[2 * k + 1]);
        values[k] = std::conj(bin);
        values[n - k] = bin;
    }
    values = testsupport::plainTransform(values);
    for (std::size_t i = 0; i < n; ++i)
        output[i] = static_cast<float>(values[i].real());
}

void* pffft_aligned_malloc(std::size_t nb_bytes)
{
    return std::aligned_alloc(kAlignment, (nb_bytes + kAlignment - 1) / kAlignment * kAlignment);
}

void pffft_aligned_free(void* p) { std::free(p); }
