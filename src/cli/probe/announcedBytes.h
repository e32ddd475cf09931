#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

namespace tunesift::probe {

/// How long a RIFF or an AIFF file is by its own first header, in bytes, which decoders quietly cut down to
/// what is there. Nothing for other files, and for those that were written without knowing their length.
[[nodiscard]] std::optional<qint64> announcedBytes(const QString& path);

}  // namespace tunesift::probe
