#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <chrono>
#include <optional>

namespace tunesift::host {

/// How a track shall be analysed.
struct Preferences {
    qint32 minimumBpm = 58;   ///< The tempo is sought from this value to twice this value.
    qint32 maximumBpm = 195;  ///< Carried; today's workers do not look at it.
    bool detectKey = true;
    bool flagB = true;  ///< Carried; today's workers do not look at it.
    bool flagC = true;  ///< Carried; today's workers do not look at it.
};

struct AnalysisRequest {
    QString path;  ///< As the worker shall open it; relative paths start from its working directory, ours.
    Preferences preferences;

    /// How long the worker may be without a word about it; empty for the session's own limit. A worker says
    /// nothing while it looks for the device of a net path, or waits for one that has stopped answering.
    std::optional<std::chrono::milliseconds> patience = {};
};

/// Whether a path names a file on another device; the worker goes by the same beginnings.
[[nodiscard]] bool isNetPath(const QString& path);

/// The payload of the start command.
[[nodiscard]] QByteArray startPayload(const AnalysisRequest& request);

}  // namespace tunesift::host
