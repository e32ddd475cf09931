#pragma once

#include "host/AnalysisRequest.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <variant>

namespace tunesift::cli {

/// What `tunesift analyze` was asked to do.
struct AnalyzeOptions {
    QStringList tracks;  ///< Empty for the demo.
    host::Preferences preferences;
    bool json = false;
    std::optional<std::chrono::seconds> wait;  ///< For a device that is not found or does not answer.
    QString worker;                            ///< Path of the executable.
};

/// The text to show instead of doing anything.
struct HelpWanted {
    QString text;
};

/// A command line that cannot be understood.
struct UsageError {
    QString text;  ///< One sentence.
};

/// @param arguments  the verb itself, then what follows it
[[nodiscard]] std::variant<AnalyzeOptions, HelpWanted, UsageError>
parseAnalyzeOptions(const QStringList& arguments);

}  // namespace tunesift::cli
