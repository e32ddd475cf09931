#pragma once

#include "cli/check/CheckPool.h"
#include "cli/rows/TrackOutcome.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

class QJsonObject;

namespace tunesift::cli {

/// What `tunesift check` says of one file.
struct CheckReport {
    struct Finding {
        QString kind;
        QString text;
        bool isFault = true;  ///< Otherwise a remark: the file is whole.
    };

    QByteArray path;  ///< As given, byte by byte.
    std::vector<Finding> findings;

    bool wasDecoded = false;
    qint64 sampleRate = 0;  ///< Hz; this and the rest only if it was decoded.
    qint64 channels = 0;
    qint64 statedFrames = 0;
    qint64 decodedFrames = 0;
    double peak = 0.0;
    qint64 clippedPlaces = 0;

    [[nodiscard]] bool isFaulty() const;

    /// Takes what the probe has found.
    void take(const ProbeOutcome& outcome);

    /// For people: a line if there is nothing to say, and one more for each finding.
    [[nodiscard]] QString text() const;

    /// One JSON object on one line.
    [[nodiscard]] QByteArray json() const;

private:
    void takeOutput(const QByteArray& output);
    void judge(const QJsonObject& probed);
    void judgeLength(const QJsonObject& probed);
};

}  // namespace tunesift::cli
