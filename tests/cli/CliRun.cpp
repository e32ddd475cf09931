#include "CliRun.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

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

QStringList rowsOf(const QString& output) { return output.split(QLatin1Char('\n'), Qt::SkipEmptyParts); }

QStringList timelessRows(const QString& output)
{
    static const QRegularExpression times(QStringLiteral("\"(wall|cpu)Seconds\":[^,}]*,?"));
    QStringList rows = rowsOf(output);
    for (QString& row : rows)
        row.remove(times);
    rows.sort();
    return rows;
}

QString member(const QString& row, const char* name)
{
    return QJsonDocument::fromJson(row.toUtf8()).object()[QLatin1String(name)].toVariant().toString();
}

QString TrackFolder::path(const QString& name) const
{
    const QString folder = QString::fromStdString(folder_.path());
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

QString TrackFolder::track(const QString& name)
{
    QFile file(path(name + QStringLiteral(".wav")));
    if (!file.open(QIODevice::WriteOnly) || file.write("not empty") < 0)
        ADD_FAILURE() << "cannot write " << file.fileName().toStdString();
    return file.fileName();
}

}  // namespace clitest
