#include "cli/share/shareReports.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tunesift::cli {
namespace {

QString withNewline(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n');
}

/// The path that others give for a file of this name in the directory.
QString urlOf(const ShareOptions& options, const QUuid& self, const QString& file)
{
    return QStringLiteral("net://%1/%2/%3").arg(self.toString(QUuid::WithoutBraces), options.name, file);
}

/// One line, whatever the file is called.
QString printable(QString path)
{
    for (QChar& character : path) {
        if (!character.isPrint() && !character.isSurrogate())
            character = QLatin1Char('?');
    }
    return path;
}

}  // namespace

QString shareStart(const ShareOptions& options, const QUuid& self)
{
    const QString uuid = self.toString(QUuid::WithoutBraces);
    if (options.json)
        return withNewline({{QStringLiteral("event"), QStringLiteral("sharing")},
                            {QStringLiteral("uuid"), uuid},
                            {QStringLiteral("name"), options.name},
                            {QStringLiteral("url"), urlOf(options, self, QString())},
                            {QStringLiteral("directory"), options.directory},
                            {QStringLiteral("writable"), options.writable}});
    return QStringLiteral("device %1\nshares %2%3\ntracks %4\n")
        .arg(uuid, printable(options.directory), options.writable ? QStringLiteral(" (writable)") : QString(),
             urlOf(options, self, QStringLiteral("TRACK")));
}

QString shareLine(const ShareOptions& options, const ShareEvent& event)
{
    const QString device = event.device.isNull() ? QString() : event.device.toString(QUuid::WithoutBraces);
    if (options.json)
        return withNewline(
            {{QStringLiteral("event"), event.what},
             {QStringLiteral("path"), event.path},
             {QStringLiteral("device"), device.isEmpty() ? QJsonValue() : QJsonValue(device)}});
    const QString line = event.what + QLatin1Char(' ') + printable(event.path);
    return (device.isEmpty() ? line : line + QStringLiteral("  by ") + device) + QLatin1Char('\n');
}

}  // namespace tunesift::cli
