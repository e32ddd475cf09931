#include "key/wingSums.h"

#include <cstddef>
#include <cstring>

namespace {

using Lanes [[gnu::vector_size(4 * sizeof(float))]] = float;

Lanes load(const float* from)
{
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

void store(float* to, Lanes lanes) { std::memcpy(to, &lanes, sizeof lanes); }

/// Four consecutive inputs of four outputs: column[i] holds the i-th of each.
struct Columns {
    Lanes column[4];

    /// The first input of output i is in[first + offsets[i]].
    Columns(const float* in, std::ptrdiff_t first, const int* offsets)
    {
        const Lanes a = load(in + (first + offsets[0]));
        const Lanes b = load(in + (first + offsets[1]));
        const Lanes c = load(in + (first + offsets[2]));
        const Lanes d = load(in + (first + offsets[3]));
        const Lanes abLow = __builtin_shufflevector(a, b, 0, 4, 1, 5);
        const Lanes cdLow = __builtin_shufflevector(c, d, 0, 4, 1, 5);
        const Lanes abHigh = __builtin_shufflevector(a, b, 2, 6, 3, 7);
        const Lanes cdHigh = __builtin_shufflevector(c, d, 2, 6, 3, 7);
        column[0] = __builtin_shufflevector(abLow, cdLow, 0, 1, 4, 5);
        column[1] = __builtin_shufflevector(abLow, cdLow, 2, 3, 6, 7);
        column[2] = __builtin_shufflevector(abHigh, cdHigh, 0, 1, 4, 5);
        column[3] = __builtin_shufflevector(abHigh, cdHigh, 2, 3, 6, 7);
    }
};

}  // namespace

namespace eboDsp {

void wingSumsBy4(const float* in, std::ptrdiff_t origin, const int* offsets, int groups, const float* weights,
                 int wing, float gain, float* out)
{
    constexpr int kLanes = 4;
    const int wholeFours = wing / 4 * 4;
    const int last = wing - wholeFours;
    for (int group = 0; group < groups; ++group) {
        for (int half = 0; half < kWingLanes; half += kLanes) {
            const int* const middle = offsets + half;
            const float* weight = weights + half;
            Lanes left{};
            Lanes right{};
            const auto add = [&](Lanes toLeft, Lanes toRight) {
                left += load(weight) * toLeft;
                right += load(weight + kWingLanes) * toRight;
                weight += 2 * kWingLanes;
            };
            for (int n = 0; n < wholeFours; n += 4) {
                const Columns before(in, origin - n - 3, middle);
                const Columns after(in, origin + n + 1, middle);
                for (int i = 0; i < 4; ++i)
                    add(before.column[3 - i], after.column[i]);
            }
            if (last > 0) {
                // The wings' outermost four, of which the inner ones have been added already.
                const Columns before(in, origin - wing + 1, middle);
                const Columns after(in, origin + wing - 3, middle);
                for (int i = 1; i < 4; ++i)
                    if (i >= 4 - last)
                        add(before.column[3 - i], after.column[i]);
            }
            store(out + half, (left + right) * gain);
        }
        offsets += kWingLanes;
        weights += groupWeights(wing);
        out += kWingLanes;
    }
}

WingSums wingSumsFor(VectorWidth width)
{
#if defined(__x86_64__)
    if (width >= VectorWidth::k8)
        return wingSumsBy8;
#endif
    static_cast<void>(width);
    return wingSumsBy4;
}

}  // namespace eboDsp
