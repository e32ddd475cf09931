#include "synth/ClickTrack.h"

#include "synth/Noise.h"
#include "synth/signals.h"

#include <cmath>
#include <cstdint>

namespace synth {
namespace {

constexpr double kClickSeconds = 0.03;
constexpr double kDecaySeconds = 0.004;
constexpr float kBeatAmplitude = 0.9f;
constexpr float kSwingAmplitude = 0.45f;
constexpr std::uint32_t kClickSeed = 20;  // all clicks of all tracks sound the same

std::vector<float> oneClick(unsigned sampleRate)
{
    std::vector<float> click(frameCount(kClickSeconds, sampleRate));
    Noise source(kClickSeed);
    for (std::size_t i = 0; i < click.size(); ++i) {
        const double seconds = static_cast<double>(i) / sampleRate;
        click[i] = static_cast<float>(std::exp(-seconds / kDecaySeconds)) * source.next();
    }
    return click;
}

void add(std::vector<float>& track, const std::vector<float>& click, double frame, float amplitude)
{
    const auto start = static_cast<std::size_t>(std::llround(frame));
    for (std::size_t i = 0; i < click.size() && start + i < track.size(); ++i)
        track[start + i] += amplitude * click[i];
}

}  // namespace

std::vector<double> beatTimes(const ClickTrack& parameters)
{
    std::vector<double> times;
    for (double time = parameters.offsetSeconds; time < parameters.seconds;) {
        times.push_back(time);
        time += 60 / (parameters.bpm + parameters.driftBpm * time / parameters.seconds);
    }
    return times;
}

std::vector<float> clickTrack(const ClickTrack& parameters)
{
    std::vector<float> track = silence(parameters.seconds, parameters.sampleRate);
    const std::vector<float> click = oneClick(parameters.sampleRate);
    const std::vector<double> beats = beatTimes(parameters);
    for (std::size_t i = 0; i < beats.size(); ++i) {
        add(track, click, beats[i] * parameters.sampleRate, kBeatAmplitude);
        if (parameters.swing > 0 && i + 1 < beats.size()) {
            const double between = beats[i] + parameters.swing * (beats[i + 1] - beats[i]);
            add(track, click, between * parameters.sampleRate, kSwingAmplitude);
        }
    }
    return track;
}

}  // namespace synth
