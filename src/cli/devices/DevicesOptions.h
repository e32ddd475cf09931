#pragma once

#include "cli/AnalyzeOptions.h"

#include <QStringList>

#include <optional>
#include <variant>

namespace tunesift::cli {

/// What `tunesift devices` was asked to do.
struct DevicesOptions {
    bool json = false;
    bool watch = false;
    std::optional<int> seconds;  ///< Until it ends by itself.
};

/// @param arguments  the verb itself, then what follows it
[[nodiscard]] std::variant<DevicesOptions, HelpWanted, UsageError>
parseDevicesOptions(const QStringList& arguments);

}  // namespace tunesift::cli
