#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift export`: the wave of a track for other programs.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int exportVerb(const QStringList& arguments);

}  // namespace tunesift::cli
