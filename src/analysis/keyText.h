#pragma once

#include <QString>

/// The key detector's text in the spelling of the product: "F#:min" becomes "F#m", "C#:maj" becomes "Db".
/// Apart from F sharp, keys on black notes are named by their flats. "-", for no key, stays as it is.
[[nodiscard]] QString normalizedKeyText(const QString& text);

/// The number of a key, 0 to 23 round the circle of fifths, each major key followed by its relative minor,
/// or -1 for none. Reads names with sharps or flats ("C#m", "Db minor", "A Maj"), the numbers from 1m to 12d
/// and the letters from 1A to 12B; upper and lower case count only where "M" is told from "m".
[[nodiscard]] int keyNumber(const QString& text);
