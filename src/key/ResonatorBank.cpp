#include "key/ResonatorBank.h"

#include "key/CAverage.h"
#include "key/CResonantFilter.h"

#include <cstring>

namespace eboDsp {

namespace {

template <std::size_t kWidth>
struct Vectors {
    using Floats [[gnu::vector_size(kWidth * sizeof(float))]] = float;
    using Bits [[gnu::vector_size(kWidth * sizeof(float))]] = std::int32_t;
};

}  // namespace

struct ResonatorBank::Kernels {
    /// Runs `kCount` vectors of filters over all samples, beginning with the filter `first`.
    template <std::size_t kWidth, std::size_t kCount>
    [[gnu::always_inline]] static void run(Lanes& lanes, std::size_t first, float envelopeCoefficient,
                                           const float* samples, int count)
    {
        using V = typename Vectors<kWidth>::Floats;
        using Bits = typename Vectors<kWidth>::Bits;
        V gain[kCount], a1[kCount], a2[kCount], y1[kCount], y2[kCount], envelope[kCount], sum[kCount];
        for (std::size_t v = 0; v < kCount; ++v) {
            const std::size_t lane = first + v * kWidth;
            std::memcpy(&gain[v], &lanes.gain[lane], sizeof(V));
            std::memcpy(&a1[v], &lanes.a1[lane], sizeof(V));
            std::memcpy(&a2[v], &lanes.a2[lane], sizeof(V));
            std::memcpy(&y1[v], &lanes.y1[lane], sizeof(V));
            std::memcpy(&y2[v], &lanes.y2[lane], sizeof(V));
            std::memcpy(&envelope[v], &lanes.envelope[lane], sizeof(V));
            sum[v] = V{};
        }
        const V coefficient = envelopeCoefficient - V{};
        const Bits magnitudeBits = 0x7fffffff - Bits{};
#pragma GCC unroll 2  // the last two outputs change places instead of being moved
        for (int i = 0; i < count; ++i) {
            const V x = samples[i] - V{};
            for (std::size_t v = 0; v < kCount; ++v) {
                CResonantFilter::step(x, gain[v], a1[v], a2[v], y1[v], y2[v]);
                const V magnitude = reinterpret_cast<V>(reinterpret_cast<Bits>(y1[v]) & magnitudeBits);
                CAverage::follow(envelope[v], magnitude, coefficient);
                sum[v] += magnitude;
            }
        }
        for (std::size_t v = 0; v < kCount; ++v) {
            const std::size_t lane = first + v * kWidth;
            std::memcpy(&lanes.y1[lane], &y1[v], sizeof(V));
            std::memcpy(&lanes.y2[lane], &y2[v], sizeof(V));
            std::memcpy(&lanes.envelope[lane], &envelope[v], sizeof(V));
            std::memcpy(&lanes.sum[lane], &sum[v], sizeof(V));
        }
    }

    template <std::size_t kWidth, std::size_t kCount>
    [[gnu::always_inline]] static void runAll(Lanes& lanes, float envelopeCoefficient, const float* samples,
                                              int count)
    {
        constexpr std::size_t kStep = kWidth * kCount;
        for (std::size_t first = 0; first < kFilters; first += kStep)
            run<kWidth, kCount>(lanes, first, envelopeCoefficient, samples, count);
    }

    static void four(Lanes& lanes, float envelopeCoefficient, const float* samples, int count)
    {
        runAll<4, 3>(lanes, envelopeCoefficient, samples, count);
    }

#if defined(__x86_64__)
    [[gnu::target("avx2")]] static void eight(Lanes& lanes, float envelopeCoefficient, const float* samples,
                                              int count)
    {
        runAll<8, 3>(lanes, envelopeCoefficient, samples, count);
    }

    [[gnu::target("avx512f")]] static void sixteen(Lanes& lanes, float envelopeCoefficient,
                                                   const float* samples, int count)
    {
        runAll<16, 5>(lanes, envelopeCoefficient, samples, count);
    }
#endif

    static Kernel choose(VectorWidth width)
    {
#if defined(__x86_64__)
        if (width == VectorWidth::k16)
            return sixteen;
        if (width == VectorWidth::k8)
            return eight;
#endif
        static_cast<void>(width);
        return four;
    }
};

ResonatorBank::ResonatorBank(int sampleRate, float envelopeCoefficient, VectorWidth width)
    : sampleRate_(static_cast<float>(sampleRate)), envelopeCoefficient_(envelopeCoefficient),
      kernel_(Kernels::choose(width))
{}

void ResonatorBank::design(const float* frequencies, const float* radii)
{
    for (std::size_t i = 0; i < kFilters; ++i) {
        const auto c = CResonantFilter::coefficients(frequencies[i], radii[i], sampleRate_);
        lanes_.gain[i] = c.gain;
        lanes_.a1[i] = c.a1;
        lanes_.a2[i] = c.a2;
    }
}

void ResonatorBank::process(const float* samples, int count)
{
    if (count <= 0)
        return;
    kernel_(lanes_, envelopeCoefficient_, samples, count);
    for (std::size_t i = 0; i < kFilters; ++i) {
        means_[i] = CAverage::joinedMean(means_[i], lanes_.sum[i], count_, count);
        CAverage::follow(slowMeans_[i], means_[i], CAverage::kSlowCoefficient);
    }
    count_ += count;
}

}  // namespace eboDsp
