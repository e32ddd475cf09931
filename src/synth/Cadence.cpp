#include "synth/Cadence.h"

#include "synth/signals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace synth {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kA2 = 110.0;  // Hz
constexpr int kSemitones = 12;

class Instrument {
public:
    Instrument(double lowestA, unsigned sampleRate) : lowestA_(lowestA), sampleRate_(sampleRate) {}

    /// Adds a plucked note.
    /// @param pitch  semitones above the lowest A
    void play(std::vector<float>& target, int pitch, double start, double seconds, double amplitude) const
    {
        const std::size_t first = frameCount(start, sampleRate_);
        const std::size_t end = std::min(target.size(), frameCount(start + seconds, sampleRate_));
        const double fundamental = lowestA_ * std::pow(2.0, static_cast<double>(pitch) / kSemitones);
        for (int partial = 1; partial <= kPartials; ++partial)
            addPartial(target, first, end, fundamental * partial, amplitude / partial);
    }

private:
    static constexpr int kPartials = 6;
    static constexpr double kAttack = 0.01;  // seconds to full level
    static constexpr double kDecay = 1.5;    // seconds to 1 / e

    void addPartial(std::vector<float>& target, std::size_t first, std::size_t end, double frequency,
                    double amplitude) const
    {
        const double w = 2.0 * kPi * frequency / sampleRate_;
        if (w >= kPi)
            return;
        // The next sine from the last two: much faster than asking for each.
        const double twice = 2.0 * std::cos(w);
        double last = -std::sin(w);
        double now = 0.0;
        double level = amplitude;
        const double fade = std::exp(-1.0 / (kDecay * sampleRate_));
        const double attackFrames = kAttack * sampleRate_;
        for (std::size_t i = first; i < end; ++i) {
            const double attack = std::min(1.0, static_cast<double>(i - first) / attackFrames);
            target[i] += static_cast<float>(now * level * attack);
            const double next = twice * now - last;
            last = now;
            now = next;
            level *= fade;
        }
    }

    double lowestA_;
    unsigned sampleRate_;
};

}  // namespace

std::vector<float> cadence(const Cadence& parameters)
{
    constexpr int kFourth = 5;
    constexpr int kFifth = 7;
    constexpr int kMinorThird = 3;
    constexpr int kMajorThird = 4;
    constexpr double kLevel = 0.07;
    struct Chord {
        int root;
        int third;
    };
    const int third = parameters.minor ? kMinorThird : kMajorThird;
    const std::array<Chord, 4> chords{{{0, third}, {kFourth, third}, {kFifth, kMajorThird}, {0, third}}};

    const Instrument instrument(kA2 * std::pow(2.0, parameters.cents / 1200.0), parameters.sampleRate);
    const double length = parameters.secondsPerChord;
    std::vector<float> music(frameCount(length * chords.size(), parameters.sampleRate));
    double start = 0.0;
    for (const auto& [root, thirdOfChord] : chords) {
        const int bass = (parameters.tonic + root) % kSemitones;
        const std::array<int, 4> notes{bass + kSemitones, bass + kSemitones + thirdOfChord,
                                       bass + kSemitones + kFifth, bass + 2 * kSemitones};
        instrument.play(music, bass, start, length, kLevel);
        const double step = length / (2.0 * notes.size());
        for (std::size_t i = 0; i < 2 * notes.size(); ++i) {
            if (parameters.arpeggio)
                instrument.play(music, notes[i % notes.size()], start + step * static_cast<double>(i), step,
                                kLevel);
            else if (i < 3)
                instrument.play(music, notes[i], start, length, kLevel);
        }
        start += length;
    }
    return music;
}

}  // namespace synth
