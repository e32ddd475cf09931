#include "network/sharing/ShareProcess.h"

#include "support/until.h"

#include <QJsonDocument>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace sharing {

using testsupport::NetworkNamespace;
using testsupport::until;

ShareProcess::ShareProcess(const NetworkNamespace& place, const QString& directory,
                           const QStringList& options)
{
    connect(&process_, &QProcess::readyReadStandardOutput, this, &ShareProcess::onOutput);
    connect(&process_, &QProcess::readyReadStandardError, this,
            [this] { log_ += QString::fromUtf8(process_.readAllStandardError()); });
    const QStringList arguments = QStringList{QStringLiteral("share"), QStringLiteral("--json"),
                                              QStringLiteral("--name"), QStringLiteral("Music")} +
                                  options + QStringList{directory};
    {
        const NetworkNamespace::Visit visit(place);
        process_.start(QStringLiteral(TUNESIFT), arguments);
    }
    if (!until([this] { return !uuid_.isEmpty() || process_.state() == QProcess::NotRunning; }) ||
        uuid_.isEmpty())
        throw std::runtime_error("tunesift share does not start: " + log_.toStdString());
}

ShareProcess::~ShareProcess()
{
    process_.disconnect(this);
    process_.kill();
    process_.waitForFinished();
}

QByteArray ShareProcess::url(const QByteArray& name) const
{
    return "net://" + uuid_.toLatin1() + "/Music/" + name;
}

int ShareProcess::count(const QString& event, const QString& pathEnd) const
{
    return static_cast<int>(std::count_if(events_.begin(), events_.end(), [&](const QJsonObject& line) {
        return line.value(QLatin1String("event")).toString() == event &&
               line.value(QLatin1String("path")).toString().endsWith(pathEnd);
    }));
}

QStringList ShareProcess::visitors() const
{
    QStringList result;
    for (const QJsonObject& line : events_) {
        if (line.value(QLatin1String("event")).toString() == QLatin1String("opened"))
            result.append(line.value(QLatin1String("device")).toString());
    }
    return result;
}

void ShareProcess::signal(int number) const { ::kill(static_cast<pid_t>(process_.processId()), number); }

int ShareProcess::waitForEnd()
{
    if (!until([this] { return process_.state() == QProcess::NotRunning; }))
        return -1;
    return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

void ShareProcess::onOutput()
{
    while (process_.canReadLine()) {
        const QJsonObject line = QJsonDocument::fromJson(process_.readLine()).object();
        if (line.value(QLatin1String("event")).toString() == QLatin1String("sharing"))
            uuid_ = line.value(QLatin1String("uuid")).toString();
        else
            events_.append(line);
    }
}

}  // namespace sharing
