#pragma once

#include "support/NetworkNamespace.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace sharing {

/// A device that shares a directory: the process `tunesift share --json` in a namespace, and what it has told
/// of its files so far. Killed at the end if it still runs. Only on the main thread.
class ShareProcess : public QObject {
    Q_OBJECT

public:
    /// Starts it; it shares the directory under the name "Music" when this returns. Throws std::runtime_error
    /// if it does not.
    ShareProcess(const testsupport::NetworkNamespace& place, const QString& directory,
                 const QStringList& options = {});
    ~ShareProcess() override;

    [[nodiscard]] const QString& uuid() const { return uuid_; }
    [[nodiscard]] qint64 processId() const { return process_.processId(); }

    /// What others give for a file in the directory, in UTF-8: "net://UUID/Music/" + name.
    [[nodiscard]] QByteArray url(const QByteArray& name) const;

    /// Events of a kind ("opened", "changed", "released") for a path that ends so.
    [[nodiscard]] int count(const QString& event, const QString& pathEnd) const;

    /// The devices that have opened something, in order.
    [[nodiscard]] QStringList visitors() const;

    void signal(int number) const;

    /// Exit status once it has ended; -1 if it was killed or does not end.
    [[nodiscard]] int waitForEnd();

    /// What it has written to standard error so far.
    [[nodiscard]] const QString& log() const { return log_; }

private:
    void onOutput();

    QProcess process_;
    QString uuid_;
    QList<QJsonObject> events_;
    QString log_;
};

}  // namespace sharing
