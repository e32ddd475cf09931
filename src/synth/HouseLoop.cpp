#include "synth/HouseLoop.h"

#include "synth/Noise.h"
#include "synth/signals.h"

#include <array>
#include <cmath>
#include <numbers>

namespace synth {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;
constexpr std::array kMajorScale{0, 2, 4, 5, 7, 9, 11};
constexpr std::array kMinorScale{0, 2, 3, 5, 7, 8, 10};
constexpr std::array kChordDegrees{0, 5, 3, 4};  // one chord per bar; degrees of the scale, 0 the tonic
constexpr int kLowestBassNote = 36;              // MIDI number of C2
constexpr int kLowestChordNote = 60;             // MIDI number of C4

/// The parts of the loop before they are mixed.
struct Parts {
    float middle;
    float chords;
    float hats;
};

double frequencyOf(int midiNote) { return 440 * std::exp2((midiNote - 69) / 12.0); }

int scaleNote(const Key& key, int lowest, int degree)
{
    const auto& scale = key.mode == Mode::kMajor ? kMajorScale : kMinorScale;
    return lowest + key.tonic + scale[static_cast<std::size_t>(degree % 7)] + 12 * (degree / 7);
}

/// A tone with a few overtones, as soft as a low-passed saw.
double tone(double frequency, double seconds)
{
    const double phase = kTurn * frequency * seconds;
    return std::sin(phase) + 0.4 * std::sin(2 * phase) + 0.15 * std::sin(3 * phase);
}

double kick(double seconds)
{
    // The pitch falls from 190 Hz to 50 Hz; the phase is the integral of that.
    const double phase = kTurn * (50 * seconds + 140 * 0.03 * (1 - std::exp(-seconds / 0.03)));
    return std::sin(phase) * std::exp(-seconds / 0.12);
}

class House {
public:
    explicit House(const HouseLoop& parameters) : parameters_(parameters), noise_(parameters.seed)
    {
        for (std::size_t bar = 0; bar < kChordDegrees.size(); ++bar) {
            const int degree = kChordDegrees[bar];
            bass_[bar] = frequencyOf(scaleNote(parameters.key, kLowestBassNote, degree));
            for (int third = 0; third < 3; ++third)
                chords_[bar][static_cast<std::size_t>(third)] =
                    frequencyOf(scaleNote(parameters.key, kLowestChordNote, degree + 2 * third));
        }
    }

    Parts at(std::size_t frame)
    {
        const double seconds = static_cast<double>(frame) / parameters_.sampleRate;
        const double beat = seconds * parameters_.bpm / 60;
        const auto wholeBeats = static_cast<std::size_t>(beat);
        const double sinceBeat = (beat - static_cast<double>(wholeBeats)) * 60 / parameters_.bpm;
        const double sinceHalf = sinceBeat - 30 / parameters_.bpm;
        const std::size_t bar = wholeBeats / 4 % kChordDegrees.size();
        const double hiss = noise_.next();

        double middle = 0.45 * kick(sinceBeat);
        if (wholeBeats % 2 == 1)
            middle += 0.15 * hiss * std::exp(-sinceBeat / 0.05);
        if (sinceHalf >= 0)  // the bass answers the kick
            middle += 0.14 * tone(bass_[bar], seconds) * std::min(1.0, sinceHalf / 0.005);

        double chords = 0;
        for (const double frequency : chords_[bar])
            chords += 0.035 * tone(frequency, seconds);

        const double hats = sinceHalf >= 0 ? 0.1 * hiss * std::exp(-sinceHalf / 0.03) : 0;
        return {static_cast<float>(middle), static_cast<float>(chords), static_cast<float>(hats)};
    }

private:
    const HouseLoop parameters_;
    Noise noise_;
    std::array<double, kChordDegrees.size()> bass_{};                   // Hz
    std::array<std::array<double, 3>, kChordDegrees.size()> chords_{};  // Hz
};

}  // namespace

std::vector<float> houseLoop(const HouseLoop& parameters)
{
    std::vector<float> result(frameCount(parameters.seconds, parameters.sampleRate));
    House house(parameters);
    for (std::size_t frame = 0; frame < result.size(); ++frame) {
        const Parts parts = house.at(frame);
        result[frame] = parts.middle + parts.chords + parts.hats;
    }
    return result;
}

std::vector<float> houseLoopStereo(const HouseLoop& parameters)
{
    // A part on one side is twice as loud there, so that the mean of the channels stays the mono mix.
    std::vector<float> result(2 * frameCount(parameters.seconds, parameters.sampleRate));
    House house(parameters);
    for (std::size_t frame = 0; frame < result.size() / 2; ++frame) {
        const Parts parts = house.at(frame);
        result[2 * frame] = parts.middle + 2 * parts.chords;
        result[2 * frame + 1] = parts.middle + 2 * parts.hats;
    }
    return result;
}

}  // namespace synth
