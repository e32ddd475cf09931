#include "app/logFile.h"

#include <QFile>
#include <QString>
#include <QtGlobal>

namespace {

constexpr const char* kVariable = "TUNESIFTLOGFILE";

QString& logFileName()
{
    static QString name;
    return name;
}

void appendToLogFile(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (logFileName().isEmpty())
        return;  // Qt itself would have a complaint about each line, on standard error
    QFile file(logFileName());
    if (file.open(QIODevice::Append))
        file.write((qFormatLogMessage(type, context, message) + QStringLiteral("\r\n")).toUtf8());
}

}  // namespace

void installLogFile()
{
    if (!qEnvironmentVariableIsSet(kVariable))
        return;
    logFileName() = QString::fromUtf8(qgetenv(kVariable));
    qInstallMessageHandler(appendToLogFile);
}
