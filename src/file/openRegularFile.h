#pragma once

#include "file/LinkPolicy.h"

#include <QIODevice>
#include <QString>

/// What openRegularFile found.
struct RegularFile {
    int descriptor = -1;       ///< Owned by the caller; -1 if the file could not be opened.
    QIODevice::OpenMode mode;  ///< The mode asked for, with what it implies added.
    QString error;             ///< Why not.
};

/// Opens a regular file by the bytes of its path as they are, whatever the process's locale. Anything else (a
/// directory, a pipe, a device) is refused, without waiting for somebody at its other end.
/// A mode that writes creates the file, unless ExistingOnly is set; without reading and appending it empties
/// it, as QFile does.
[[nodiscard]] RegularFile openRegularFile(const char* path, QIODevice::OpenMode mode,
                                          LinkPolicy links = LinkPolicy::kFollow);
