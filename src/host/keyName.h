#pragma once

#include <QString>

namespace tunesift::host {

/// A key in the three forms that people use; see kKeyTable for what key numbers mean.
struct KeyName {
    QString musical;     ///< "A minor", "F# major", "Bb major": the spelling with the fewest accidentals.
    QString numberForm;  ///< "1m", "7d".
    QString letterForm;  ///< "8A", "2B".
};

/// The names of a key number from 0 to 23; every other number gives "-" in each form.
[[nodiscard]] KeyName keyName(int number);

}  // namespace tunesift::host
