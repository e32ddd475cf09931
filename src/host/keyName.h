#pragma once

#include <QString>

namespace tunesift::host {

/// The musical key of a key number: round the circle of fifths from 0, "C", each major key followed by its
/// relative minor, to 23, "Dm". Every other number gives "-".
[[nodiscard]] QString keyName(int number);

}  // namespace tunesift::host
