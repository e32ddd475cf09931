#pragma once

#include "file/eboFile.h"

#include <cstdint>
#include <cstdio>

/// The seek that decoder libraries ask for: from the start, the current place or the end by SEEK_SET,
/// SEEK_CUR or SEEK_END. From the end it counts backwards, unlike fseek: a positive offset lies inside of the
/// file.
/// @return false if the file refuses, and for any other `whence`
[[nodiscard]] inline bool seekFrom(eboFile& file, std::int64_t offset, int whence)
{
    switch (whence) {
    case SEEK_SET:
        return file.seek(offset);
    case SEEK_CUR:
        return file.seek(file.pos() + offset);
    case SEEK_END:
        return file.seek(file.size() - offset);
    default:
        return false;
    }
}
