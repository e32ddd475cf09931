#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

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
};

/// The payload of the start command.
[[nodiscard]] QByteArray startPayload(const AnalysisRequest& request);

}  // namespace tunesift::host
