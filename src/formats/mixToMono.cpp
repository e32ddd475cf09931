#include "formats/mixToMono.h"

#include <cmath>
#include <limits>

namespace {

// Compiles to a comparison and a mask: no branch, so the loops below run in lanes.
float finiteOrZero(float value)
{
    return std::fabs(value) <= std::numeric_limits<float>::max() ? value : 0.0f;
}

}  // namespace

void mixToMono(const float* interleaved, float* mono, std::size_t frames, std::size_t channels)
{
    if (channels == 1) {
        for (std::size_t frame = 0; frame < frames; ++frame)
            mono[frame] = finiteOrZero(interleaved[frame]);
        return;
    }
    const float scale = 1.0f / static_cast<float>(channels);
    if (channels == 2) {
        for (std::size_t frame = 0; frame < frames; ++frame)
            mono[frame] = finiteOrZero((interleaved[2 * frame] + interleaved[2 * frame + 1]) * scale);
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame, interleaved += channels) {
        float sum = interleaved[0];
        for (std::size_t channel = 1; channel < channels; ++channel)
            sum += interleaved[channel];
        mono[frame] = finiteOrZero(sum * scale);
    }
}

void mixToMono(const float* left, const float* right, float* mono, std::size_t frames)
{
    for (std::size_t frame = 0; frame < frames; ++frame)
        mono[frame] = finiteOrZero((left[frame] + right[frame]) * 0.5f);
}
