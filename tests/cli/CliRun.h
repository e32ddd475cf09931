#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace clitest {

/// What a run of tunesift left behind.
struct CliOutcome {
    int status = -1;  ///< Exit status; -1 if it crashed or hung.
    QString output;
    QString errors;
};

/// Waits for the end of a run.
[[nodiscard]] CliOutcome outcomeOf(QProcess& process);

/// Runs tunesift with the arguments as they are.
[[nodiscard]] CliOutcome runCli(const QStringList& arguments);

/// Runs `tunesift analyze` with the fake worker.
[[nodiscard]] CliOutcome analyze(const QStringList& arguments);

/// The arguments of such a run.
[[nodiscard]] QStringList withFakeWorker(const QStringList& arguments);

/// A folder of tracks, whose names tell the fake worker what to do. Their content is of no interest to it.
class TrackFolder {
public:
    /// Makes the track NAME.wav; returns its path.
    QString track(const QString& name);

    [[nodiscard]] QString path(const QString& name) const { return folder_.filePath(name); }

private:
    QTemporaryDir folder_;
};

}  // namespace clitest
