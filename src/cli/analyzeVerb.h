#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift analyze`: prints what a worker finds in each track.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int analyzeVerb(const QStringList& arguments);

}  // namespace tunesift::cli
