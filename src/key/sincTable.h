#pragma once

#include <vector>

namespace eboDsp {

/// Entries from one zero crossing of an unfiltered sinc to the next.
inline constexpr int kSincEntriesPerCrossing = 256;

/// A value of the windowed sinc, and how much the next entry's is larger: for linear interpolation.
struct SincEntry {
    float value;
    float difference;
};

/// One wing, from the middle outwards, of a low-pass at about nine tenths of half the sample rate, under a
/// Kaiser window of beta 9. (Smith's band-limited interpolation, https://ccrma.stanford.edu/~jos/resample.)
/// The last entry's difference is 0.
/// @param quality  zero crossings, at least 1; more of them make a steeper slope that starts later
[[nodiscard]] std::vector<SincEntry> sincTable(int quality);

}  // namespace eboDsp
