#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace testsupport {

/// Evenly distributed between -1 and 1, the same at each call.
inline std::vector<float> noise(int count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (float& sample : samples)
        sample = static_cast<float>(generator()) * 0x1p-31f - 1.0f;
    return samples;
}

}  // namespace testsupport
