#pragma once

#include "support/TempDir.h"

#include <QProcess>
#include <QString>
#include <QStringList>

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

/// The rows of an output in JSON, each as its one line.
[[nodiscard]] QStringList rowsOf(const QString& output);

/// The same without what depends on time, sorted: equal for equal results.
[[nodiscard]] QStringList timelessRows(const QString& output);

/// The member of a row, as text; empty for null.
[[nodiscard]] QString member(const QString& row, const char* name);

/// A folder of tracks, whose names tell the fake worker what to do. Their content is of no interest to it.
class TrackFolder {
public:
    /// Makes the track NAME.wav; returns its path.
    QString track(const QString& name);

    /// The path of what has this name in the folder; of the folder itself without one.
    [[nodiscard]] QString path(const QString& name) const;

private:
    testsupport::TempDir folder_;  // which can also remove names that Qt cannot
};

}  // namespace clitest
