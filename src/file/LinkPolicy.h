#pragma once

/// What a symbolic link in a path means to whoever opens it. Refusing applies to every component of the path,
/// not only to the last: who has checked a path without links then opens that very file or nothing, whatever
/// has been swapped on disk since the check.
enum class LinkPolicy { kFollow, kRefuse };
