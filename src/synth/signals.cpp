#include "synth/signals.h"

#include "synth/Noise.h"

#include <cmath>
#include <numbers>

namespace synth {

std::size_t frameCount(double seconds, unsigned sampleRate)
{
    return seconds > 0 ? static_cast<std::size_t>(std::llround(seconds * sampleRate)) : 0;
}

std::vector<float> sine(const Sine& parameters)
{
    std::vector<float> result(frameCount(parameters.seconds, parameters.sampleRate));
    const double step = 2 * std::numbers::pi * parameters.frequency / parameters.sampleRate;
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = static_cast<float>(parameters.amplitude * std::sin(step * static_cast<double>(i)));
    return result;
}

std::vector<float> silence(double seconds, unsigned sampleRate)
{
    std::vector<float> result(frameCount(seconds, sampleRate));
    return result;
}

std::vector<float> noise(const WhiteNoise& parameters)
{
    std::vector<float> result(frameCount(parameters.seconds, parameters.sampleRate));
    Noise source(parameters.seed);
    const auto amplitude = static_cast<float>(parameters.amplitude);
    for (float& sample : result)
        sample = amplitude * source.next();
    return result;
}

std::vector<float> stereoFromMono(const std::vector<float>& mono)
{
    std::vector<float> result;
    result.reserve(2 * mono.size());
    for (const float sample : mono)
        result.insert(result.end(), 2, sample);
    return result;
}

}  // namespace synth
