#include "formats/fixedPointToFloat.h"

void interleaveScaled(const std::int32_t* const* planes, std::size_t channels, std::size_t first,
                      std::size_t frames, float scale, float* target)
{
    // A caller whose room is used up has no target either, and a null pointer must not be stepped on from.
    if (frames == 0)
        return;
    // Mono and stereo, which is nearly all there is, in loops that run in lanes.
    if (channels == 1) {
        const std::int32_t* const plane = planes[0] + first;
        for (std::size_t frame = 0; frame < frames; ++frame)
            target[frame] = static_cast<float>(plane[frame]) * scale;
        return;
    }
    if (channels == 2) {
        const std::int32_t* const left = planes[0] + first;
        const std::int32_t* const right = planes[1] + first;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            target[2 * frame] = static_cast<float>(left[frame]) * scale;
            target[2 * frame + 1] = static_cast<float>(right[frame]) * scale;
        }
        return;
    }
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const std::int32_t* const plane = planes[channel] + first;
        float* sample = target + channel;
        for (std::size_t frame = 0; frame < frames; ++frame, sample += channels)
            *sample = static_cast<float>(plane[frame]) * scale;
    }
}

void divide(const std::int16_t* samples, std::size_t count, float divisor, float* target)
{
    for (std::size_t i = 0; i < count; ++i)
        target[i] = static_cast<float>(samples[i]) / divisor;
}
