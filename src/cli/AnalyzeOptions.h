#pragma once

#include "cli/batch/BatchOptions.h"
#include "host/AnalysisRequest.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <variant>

namespace tunesift::cli {

/// What `tunesift analyze` was asked to do.
struct AnalyzeOptions {
    QStringList tracks;  ///< Files and folders, as textOfBytes has them.
    host::Preferences preferences;
    bool json = false;
    std::optional<std::chrono::seconds> wait;  ///< For a device that is not found or does not answer.
    QString worker;                            ///< Path of the executable.
    BatchOptions batch;
};

/// What results depend on besides the track, in words.
[[nodiscard]] QString optionsText(const host::Preferences& preferences);

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
