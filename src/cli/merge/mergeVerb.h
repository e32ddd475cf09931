#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift merge`: joins the rows of several files, and says whether anything is missing, double or mixed.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int mergeVerb(const QStringList& arguments);

}  // namespace tunesift::cli
