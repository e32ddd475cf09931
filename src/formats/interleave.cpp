#include "formats/interleave.h"

#include <type_traits>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace {

// Integers become float first and are scaled by a power of two then, so that only the first step rounds.
float toFloat(std::uint8_t sample) { return static_cast<float>(sample - 0x80) * (1.0f / 128.0f); }
float toFloat(std::int16_t sample) { return static_cast<float>(sample) * (1.0f / 32768.0f); }
float toFloat(std::int32_t sample) { return static_cast<float>(sample) * (1.0f / 2147483648.0f); }
float toFloat(std::int64_t sample) { return static_cast<float>(sample) * (1.0f / 9223372036854775808.0f); }
float toFloat(float sample) { return sample; }
float toFloat(double sample) { return static_cast<float>(sample); }

template <typename Sample>
const Sample* plane(const AVFrame& decoded, int index)
{
    return reinterpret_cast<const Sample*>(decoded.extended_data[index]);
}

template <typename Sample>
void convertPacked(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* target)
{
    const int channels = decoded.ch_layout.nb_channels;
    const Sample* source = plane<Sample>(decoded, 0) + first * channels;
    for (std::int64_t sample = 0; sample < count * channels; ++sample)
        target[sample] = toFloat(source[sample]);
}

template <typename Sample>
void convertPlanar(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* target)
{
    const int channels = decoded.ch_layout.nb_channels;
    if (channels == 2) {  // the usual case, in one pass
        const Sample* left = plane<Sample>(decoded, 0) + first;
        const Sample* right = plane<Sample>(decoded, 1) + first;
        for (std::int64_t frame = 0; frame < count; ++frame) {
            target[2 * frame] = toFloat(left[frame]);
            target[2 * frame + 1] = toFloat(right[frame]);
        }
        return;
    }
    for (int channel = 0; channel < channels; ++channel) {
        const Sample* source = plane<Sample>(decoded, channel) + first;
        for (std::int64_t frame = 0; frame < count; ++frame)
            target[frame * channels + channel] = toFloat(source[frame]);
    }
}

template <typename Sample>
void convert(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* target)
{
    if (av_sample_fmt_is_planar(static_cast<AVSampleFormat>(decoded.format)) != 0)
        convertPlanar<Sample>(decoded, first, count, target);
    else
        convertPacked<Sample>(decoded, first, count, target);
}

}  // namespace

void interleave(const AVFrame& decoded, std::int64_t first, std::int64_t count, float* target)
{
    switch (av_get_packed_sample_fmt(static_cast<AVSampleFormat>(decoded.format))) {
    case AV_SAMPLE_FMT_U8:
        return convert<std::uint8_t>(decoded, first, count, target);
    case AV_SAMPLE_FMT_S16:
        return convert<std::int16_t>(decoded, first, count, target);
    case AV_SAMPLE_FMT_S32:
        return convert<std::int32_t>(decoded, first, count, target);
    case AV_SAMPLE_FMT_S64:
        return convert<std::int64_t>(decoded, first, count, target);
    case AV_SAMPLE_FMT_FLT:
        return convert<float>(decoded, first, count, target);
    case AV_SAMPLE_FMT_DBL:
        return convert<double>(decoded, first, count, target);
    default:
        return;  // a stream of any other format is refused when it is opened
    }
}
