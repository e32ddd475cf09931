#include "network/world/DeviceProcess.h"

#include "support/until.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <csignal>
#include <stdexcept>

namespace world {

using testsupport::NetworkNamespace;
using testsupport::until;

DeviceProcess::DeviceProcess(const NetworkNamespace& place, const QStringList& options,
                             const QString& loggingRules, int descriptors)
{
    connect(&process_, &QProcess::readyReadStandardOutput, this, &DeviceProcess::onOutput);
    connect(&process_, &QProcess::readyReadStandardError, this,
            [this] { log_ += QString::fromUtf8(process_.readAllStandardError()); });
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), loggingRules);
    process_.setProcessEnvironment(environment);
    {
        const NetworkNamespace::Visit visit(place);
        const QString limit =
            descriptors > 0 ? QStringLiteral("ulimit -n %1 && ").arg(descriptors) : QString();
        process_.start(QStringLiteral("/bin/sh"),
                       QStringList{QStringLiteral("-c"), limit + QStringLiteral("exec \"$0\" \"$@\""),
                                   QStringLiteral(TUNESIFT), QStringLiteral("devices"),
                                   QStringLiteral("--json")} +
                           options);
    }
    if (!until([this] { return !uuid_.isEmpty() || process_.state() == QProcess::NotRunning; }) ||
        uuid_.isEmpty())
        throw std::runtime_error("tunesift devices does not start: " + log_.toStdString());
}

DeviceProcess::~DeviceProcess()
{
    process_.disconnect(this);
    process_.kill();
    process_.waitForFinished();
}

bool DeviceProcess::sees(const QString& uuid) const
{
    return said_.contains(uuid) &&
           said_[uuid].value(QLatin1String("event")).toString() != QLatin1String("gone");
}

int DeviceProcess::numberOfDevices() const
{
    int result = 0;
    for (auto entry = said_.begin(); entry != said_.end(); ++entry)
        result += sees(entry.key()) ? 1 : 0;
    return result;
}

bool DeviceProcess::isReadyFor(const QString& uuid) const
{
    const QJsonObject last = device(uuid);
    const QJsonArray services = last.value(QLatin1String("services")).toArray();
    return sees(uuid) && last.value(QLatin1String("connected")).toBool() && services.size() == 1 &&
           services[0].toObject() == QJsonObject{{QStringLiteral("id"), QStringLiteral("FileTransfer")},
                                                 {QStringLiteral("ready"), true}};
}

bool DeviceProcess::hasRoundTripTo(const QString& uuid) const
{
    return device(uuid).value(QLatin1String("roundTripNs")).isDouble();
}

qint64 DeviceProcess::roundTripNs(const QString& uuid) const
{
    return static_cast<qint64>(device(uuid).value(QLatin1String("roundTripNs")).toDouble());
}

int DeviceProcess::connectionsTo(const QString& uuid) const
{
    return sees(uuid) ? device(uuid).value(QLatin1String("connections")).toInt() : 0;
}

void DeviceProcess::signal(int number) const { ::kill(static_cast<pid_t>(process_.processId()), number); }

int DeviceProcess::waitForEnd()
{
    if (!until([this] { return process_.state() == QProcess::NotRunning; }))
        return -1;
    return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

void DeviceProcess::onOutput()
{
    while (process_.canReadLine())
        onLine(QJsonDocument::fromJson(process_.readLine()).object());
}

void DeviceProcess::onLine(const QJsonObject& line)
{
    const QString event = line.value(QLatin1String("event")).toString();
    const QString uuid = line.value(QLatin1String("uuid")).toString();
    if (event == QLatin1String("started")) {
        uuid_ = uuid;
        directoryPort_ = static_cast<quint16>(line.value(QLatin1String("directoryPort")).toInt());
        return;
    }
    said_.insert(uuid, line);
    if (event == QLatin1String("gone")) {
        ++gone_[uuid];
        lastGone_ = std::chrono::system_clock::now();
    }
}

}  // namespace world
