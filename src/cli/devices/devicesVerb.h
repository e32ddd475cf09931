#pragma once

#include <QStringList>

namespace tunesift::cli {

/// `tunesift devices`: joins the network as a device of its own and prints which others come and go, until it
/// is interrupted or its time is over.
/// @param arguments  the verb itself, then what follows it
/// @return the exit status
[[nodiscard]] int devicesVerb(const QStringList& arguments);

}  // namespace tunesift::cli
