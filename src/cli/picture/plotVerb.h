#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift plot`: a picture of a track.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int plotVerb(const QStringList& arguments);

}  // namespace tunesift::cli
