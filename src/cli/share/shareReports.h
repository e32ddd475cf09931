#pragma once

#include "cli/share/ShareOptions.h"

#include <QString>
#include <QUuid>

namespace tunesift::cli {

/// Something that happened to a shared file.
struct ShareEvent {
    QString what;  ///< "opened", "changed" or "released".
    QString path;  ///< Local.
    QUuid device;  ///< Whose request it was; null if that is not known.
};

/// What is shared, and where others find it.
[[nodiscard]] QString shareStart(const ShareOptions& options, const QUuid& self);

/// One line for an event, as text or as JSON.
[[nodiscard]] QString shareLine(const ShareOptions& options, const ShareEvent& event);

}  // namespace tunesift::cli
