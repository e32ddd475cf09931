#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace tunesift::cli {

/// The names under which workers open tracks. Workers are told paths in UTF-8: a track whose path is none
/// gets a link with a name that is.
class WorkerPaths {
public:
    /// @param number  of the track, for `done`
    /// @return nothing if a link is needed and cannot be made
    [[nodiscard]] std::optional<QString> nameFor(qint64 number, const QByteArray& path);

    /// The track is not read any more.
    void done(qint64 number);

private:
    std::unique_ptr<QTemporaryDir> folder_;  ///< Made when it is first needed.
    QHash<qint64, QByteArray> links_;
};

}  // namespace tunesift::cli
