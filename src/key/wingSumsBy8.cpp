#include "key/wingSums.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstddef>

namespace {

#define TUNESIFT_AVX2 __attribute__((target("avx2"), always_inline)) inline

/// Four consecutive inputs of two outputs, the second's in the upper half.
TUNESIFT_AVX2 __m256 loadPair(const float* low, const float* high)
{
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(low)), _mm_loadu_ps(high), 1);
}

/// Four consecutive inputs of eight outputs: column[i] holds the i-th of each.
struct Columns {
    __m256 column[4];

    /// The first input of output i is in[first + offsets[i]].
    TUNESIFT_AVX2 Columns(const float* in, std::ptrdiff_t first, const std::ptrdiff_t* offsets)
    {
        const __m256 a = loadPair(in + (first + offsets[0]), in + (first + offsets[4]));
        const __m256 b = loadPair(in + (first + offsets[1]), in + (first + offsets[5]));
        const __m256 c = loadPair(in + (first + offsets[2]), in + (first + offsets[6]));
        const __m256 d = loadPair(in + (first + offsets[3]), in + (first + offsets[7]));
        const __m256 abLow = _mm256_unpacklo_ps(a, b);
        const __m256 cdLow = _mm256_unpacklo_ps(c, d);
        const __m256 abHigh = _mm256_unpackhi_ps(a, b);
        const __m256 cdHigh = _mm256_unpackhi_ps(c, d);
        column[0] = _mm256_shuffle_ps(abLow, cdLow, _MM_SHUFFLE(1, 0, 1, 0));
        column[1] = _mm256_shuffle_ps(abLow, cdLow, _MM_SHUFFLE(3, 2, 3, 2));
        column[2] = _mm256_shuffle_ps(abHigh, cdHigh, _MM_SHUFFLE(1, 0, 1, 0));
        column[3] = _mm256_shuffle_ps(abHigh, cdHigh, _MM_SHUFFLE(3, 2, 3, 2));
    }
};

/// The running sums of eight outputs.
struct Sums {
    __m256 left;
    __m256 right;
    const float* weight;

    TUNESIFT_AVX2 void add(__m256 toLeft, __m256 toRight)
    {
        left = _mm256_add_ps(left, _mm256_mul_ps(_mm256_loadu_ps(weight), toLeft));
        right = _mm256_add_ps(right, _mm256_mul_ps(_mm256_loadu_ps(weight + eboDsp::kWingLanes), toRight));
        weight += 2 * eboDsp::kWingLanes;
    }
};

#undef TUNESIFT_AVX2

}  // namespace

namespace eboDsp {

__attribute__((target("avx2"))) void wingSumsBy8(const float* in, std::ptrdiff_t origin, const int* offsets,
                                                 int groups, const float* weights, int wing, float gain,
                                                 float* out)
{
    const int wholeFours = wing / 4 * 4;
    const int last = wing - wholeFours;
    for (int group = 0; group < groups; ++group) {
        std::ptrdiff_t middle[kWingLanes];
        for (int lane = 0; lane < kWingLanes; ++lane)
            middle[lane] = origin + offsets[lane];

        Sums sums{_mm256_setzero_ps(), _mm256_setzero_ps(), weights};
        for (int n = 0; n < wholeFours; n += 4) {
            const Columns before(in, -n - 3, middle);
            const Columns after(in, n + 1, middle);
            for (int i = 0; i < 4; ++i)
                sums.add(before.column[3 - i], after.column[i]);
        }
        if (last > 0) {
            // The wings' outermost four, of which the inner ones have been added already.
            const Columns before(in, 1 - wing, middle);
            const Columns after(in, wing - 3, middle);
            for (int i = 1; i < 4; ++i)
                if (i >= 4 - last)
                    sums.add(before.column[3 - i], after.column[i]);
        }
        const __m256 sum = _mm256_add_ps(sums.left, sums.right);
        _mm256_storeu_ps(out, _mm256_mul_ps(sum, _mm256_set1_ps(gain)));
        offsets += kWingLanes;
        weights += groupWeights(wing);
        out += kWingLanes;
    }
}

}  // namespace eboDsp

#endif
