#pragma once

#include <vector>

namespace eboKey {

/// Where the notes of the scale stand in a spectrum, and how what sounds there is folded into the twelve
/// pitch classes, beginning with A. One thread; nothing allocates after construction.
class NoteBins {
public:
    static constexpr int kPitchClasses = 12;

    /// Bins of the spectrum, from `first` to before `end`.
    struct Range {
        int first;
        int end;
    };

    /// @param notes  semitones, upwards from the A two octaves below the tuning frequency
    /// @param bins   of the spectrum
    NoteBins(int notes, int bins);

    /// Places the notes by the tuning frequency.
    /// @param tuningFrequency  of the A in the middle, nominally 440 Hz
    /// @param sampleRate       Hz
    /// @param blockLength      samples that the spectrum was made from
    void update(float tuningFrequency, int sampleRate, int blockLength);

    /// All bins that fold() looks at.
    [[nodiscard]] Range range() const { return range_; }

    /// The chroma of a spectrum: for each pitch class the sum of the peaks of its notes, divided by the sum
    /// of all. Each note looks a quarter tone to both sides, through a triangle with its top on the note. A
    /// highest value at the end of its window counts only if the bin next to the window is not greater: that
    /// would be a slope, not a peak. The lower of these neighbours has been through its own note's triangle,
    /// the upper one not yet.
    ///
    /// A note adds nothing if its window has no bin or is not wholly inside the spectrum.
    /// @param spectrum  its values become those behind the triangles; outside of range() they do not matter
    /// @param chroma    twelve values from 0 to 1, all 0 if nothing was found
    void fold(float* spectrum, float* chroma) const;

private:
    struct Window {
        float low = 0.0f;     // bins
        float centre = 0.0f;  // bins
        float high = 0.0f;    // bins
        int first = 0;        // bin
        int last = -1;        // bin; before the first if the window is empty
    };

    static void shape(const Window& window, float* spectrum);

    const int bins_;
    std::vector<Window> windows_;
    Range range_{0, 0};
};

}  // namespace eboKey
