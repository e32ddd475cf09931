#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift share`: see its help. Needs a QCoreApplication, whose event loop it runs.
/// @param arguments  the verb itself, then what follows it
/// @return exit status
int shareVerb(const QStringList& arguments);

}  // namespace tunesift::cli
