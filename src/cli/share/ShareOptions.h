#pragma once

#include "cli/AnalyzeOptions.h"

#include <QString>
#include <QStringList>

#include <variant>

namespace tunesift::cli {

/// What `tunesift share` was asked to do.
struct ShareOptions {
    QString directory;  ///< Absolute, without links.
    QString name;       ///< Under which others see it.
    bool writable = false;
    bool json = false;
};

/// @param arguments  the verb itself, then what follows it
[[nodiscard]] std::variant<ShareOptions, HelpWanted, UsageError>
parseShareOptions(const QStringList& arguments);

}  // namespace tunesift::cli
