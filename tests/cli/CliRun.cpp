#include "CliRun.h"

#include <QFile>

#include <gtest/gtest.h>

namespace clitest {

CliOutcome outcomeOf(QProcess& process)
{
    constexpr int kHangMilliseconds = 120000;
    if (!process.waitForFinished(kHangMilliseconds)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "tunesift did not end: " << process.errorString().toStdString();
        return {};
    }
    CliOutcome outcome;
    outcome.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    outcome.output = QString::fromUtf8(process.readAllStandardOutput());
    outcome.errors = QString::fromUtf8(process.readAllStandardError());
    return outcome;
}

CliOutcome runCli(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(TUNESIFT), arguments);
    return outcomeOf(process);
}

QStringList withFakeWorker(const QStringList& arguments)
{
    return QStringList{QStringLiteral("analyze"), QStringLiteral("--worker"), QStringLiteral(FAKE_WORKER)} +
           arguments;
}

CliOutcome analyze(const QStringList& arguments) { return runCli(withFakeWorker(arguments)); }

QString TrackFolder::track(const QString& name)
{
    QFile file(path(name + QStringLiteral(".wav")));
    if (!file.open(QIODevice::WriteOnly) || file.write("not empty") < 0)
        ADD_FAILURE() << "cannot write " << file.fileName().toStdString();
    return file.fileName();
}

}  // namespace clitest
