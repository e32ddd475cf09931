#pragma once

#include <QString>

namespace tunesift::cli {

/// A time in seconds as "3:20" or "18:00:05".
[[nodiscard]] QString duration(double seconds);

}  // namespace tunesift::cli
