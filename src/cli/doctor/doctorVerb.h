#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift doctor`: versions, what the machine lacks, and a test on music whose facts are known.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int doctorVerb(const QStringList& arguments);

}  // namespace tunesift::cli
