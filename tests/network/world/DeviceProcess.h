#pragma once

#include "support/NetworkNamespace.h"

#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <chrono>

namespace world {

/// A device: the process `tunesift devices --json` in a namespace, and what it has said of the others so far.
/// Killed at the end if it still runs. Only on the main thread.
class DeviceProcess : public QObject {
    Q_OBJECT

public:
    /// Starts it; it has told its uuid and ports when this returns. Throws std::runtime_error if it does not.
    /// @param loggingRules  as in "ebo.network.*=true"
    /// @param descriptors   as many as it may ever have open; 0 for as many as the test
    explicit DeviceProcess(const testsupport::NetworkNamespace& place, const QStringList& options = {},
                           const QString& loggingRules = QString(), int descriptors = 0);
    ~DeviceProcess() override;

    [[nodiscard]] const QString& uuid() const { return uuid_; }
    [[nodiscard]] quint16 directoryPort() const { return directoryPort_; }
    [[nodiscard]] qint64 processId() const { return process_.processId(); }

    /// Whether it lists a device now; what it said of it last, empty before that; how often it went.
    [[nodiscard]] bool sees(const QString& uuid) const;
    [[nodiscard]] QJsonObject device(const QString& uuid) const { return said_.value(uuid); }
    [[nodiscard]] int timesGone(const QString& uuid) const { return gone_.value(uuid); }
    [[nodiscard]] std::chrono::system_clock::time_point lastGone() const { return lastGone_; }
    [[nodiscard]] int numberOfDevices() const;

    /// Whether it has a connection to a device that carries the service.
    [[nodiscard]] bool isReadyFor(const QString& uuid) const;
    [[nodiscard]] bool isReadyFor(const DeviceProcess& other) const { return isReadyFor(other.uuid()); }
    [[nodiscard]] bool hasRoundTripTo(const QString& uuid) const;
    [[nodiscard]] qint64 roundTripNs(const QString& uuid) const;
    [[nodiscard]] int connectionsTo(const QString& uuid) const;

    [[nodiscard]] bool isRunning() const { return process_.state() == QProcess::Running; }
    void signal(int number) const;

    /// Exit status once it has ended; -1 if it was killed or does not end.
    [[nodiscard]] int waitForEnd();

    /// What it has written to standard error so far.
    [[nodiscard]] const QString& log() const { return log_; }

private:
    void onOutput();
    void onLine(const QJsonObject& line);

    QProcess process_;
    QString uuid_;
    quint16 directoryPort_ = 0;
    QMap<QString, QJsonObject> said_;
    QMap<QString, int> gone_;
    std::chrono::system_clock::time_point lastGone_;
    QString log_;
};

}  // namespace world
