#pragma once

#include <sys/types.h>

/// Opens an absolute path in which no component is a symbolic link: as ::open, with O_CLOEXEC added. Each
/// component is opened by itself, below the one before it, so nobody can slip a link in meanwhile.
/// @return the descriptor, or -1 with errno; a link gives ELOOP or ENOTDIR. A path with ".." is refused.
[[nodiscard]] int openWithoutLinks(const char* path, int flags, mode_t mode = 0);

/// Removes a file likewise: as ::unlink, 0 or -1 with errno. A link at the end of the path is removed itself,
/// as always.
int unlinkWithoutLinks(const char* path);
