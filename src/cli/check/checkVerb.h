#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift check`: decodes files from end to end and says what is wrong with them.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int checkVerb(const QStringList& arguments);

}  // namespace tunesift::cli
