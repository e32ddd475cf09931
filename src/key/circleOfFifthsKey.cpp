#include "key/circleOfFifthsKey.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace eboKey {

namespace {

constexpr std::size_t kPlaces = 12;
using Circle = std::array<double, kPlaces>;
using Votes = std::array<double, 2 * kPlaces>;  // twelve places for major keys, then twelve for minor keys

/// The tonics C, G, D, A, E, B, F#, C#, G#, D#, A#, F, in semitones from A.
constexpr std::array<std::size_t, kPlaces> kFifths{3, 10, 5, 0, 7, 2, 9, 4, 11, 6, 1, 8};

/// Where a circle's weights balance.
struct Centre {
    double length = 0.0;  // of the mean vector, 0 to 1
    double energy = 0.0;  // root of the sum of the squares
    std::size_t place = 0;
};

Centre centreOf(const Circle& weights)
{
    constexpr double kTurn = 6.2831853071795865;
    constexpr double kPlacesPerRadian = 1.9098593;
    double energy = 0.0;
    double cosines = 0.0;
    double sines = 0.0;
    for (std::size_t i = 0; i < kPlaces; ++i) {
        const double square = weights[i] * weights[i];
        const double angle = kTurn * static_cast<double>(i) / kPlaces;
        energy += square;
        cosines += square * std::cos(angle);
        sines += square * std::sin(angle);
    }
    if (!(energy > 0.0))
        return {};
    cosines /= energy;
    sines /= energy;
    double angle = std::atan2(sines, cosines);
    if (angle < 0.0)
        angle += kTurn;
    return {std::sqrt(cosines * cosines + sines * sines), std::sqrt(energy),
            static_cast<std::size_t>(angle * kPlacesPerRadian + 0.5 + kPlaces) % kPlaces};
}

std::size_t majorPlace(std::size_t place) { return place; }
std::size_t minorPlace(std::size_t place) { return place + kPlaces; }
std::size_t relativeMinorPlace(std::size_t place) { return minorPlace((place + 3) % kPlaces); }

/// Half a vote for each neighbour; the fourth power leaves vague centres without a say.
template <typename Target>
void vote(Votes& votes, const Centre& centre, Target target)
{
    const double weight = std::pow(centre.length, 4) * centre.energy;
    votes[target((centre.place + kPlaces - 1) % kPlaces)] += weight / 2;
    votes[target(centre.place)] += weight;
    votes[target((centre.place + 1) % kPlaces)] += weight / 2;
}

}  // namespace

FifthsEstimate circleOfFifthsKey(const std::array<double, 24>& keySums)
{
    Circle major;
    Circle minor;
    Circle relative;
    Circle parallel;
    for (std::size_t i = 0; i < kPlaces; ++i) {
        major[i] = keySums[kFifths[i]];
        minor[i] = keySums[kPlaces + kFifths[i]];
        relative[i] = major[i] + keySums[kPlaces + (kFifths[i] + 9) % kPlaces];
        parallel[i] = major[i] + minor[i];
    }
    const Centre majorCentre = centreOf(major);
    const Centre minorCentre = centreOf(minor);
    const Centre relativeCentre = centreOf(relative);
    const Centre parallelCentre = centreOf(parallel);

    // A circle of one mode votes twice for it, a circle of both modes once for each.
    Votes votes{};
    vote(votes, majorCentre, majorPlace);
    vote(votes, majorCentre, majorPlace);
    vote(votes, minorCentre, minorPlace);
    vote(votes, minorCentre, minorPlace);
    vote(votes, relativeCentre, majorPlace);
    vote(votes, relativeCentre, relativeMinorPlace);
    vote(votes, parallelCentre, majorPlace);
    vote(votes, parallelCentre, minorPlace);

    const auto winner =
        static_cast<std::size_t>(std::max_element(votes.begin(), votes.end()) - votes.begin());
    const bool isMajor = winner < kPlaces;
    const std::size_t tonic = kFifths[winner % kPlaces];
    return {static_cast<int>(isMajor ? tonic : tonic + kPlaces),
            static_cast<float>(isMajor ? majorCentre.length : minorCentre.length)};
}

}  // namespace eboKey
