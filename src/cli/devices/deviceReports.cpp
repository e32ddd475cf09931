#include "cli/devices/deviceReports.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>

namespace tunesift::cli {
namespace {

constexpr std::size_t kColumns = 7;
constexpr int kLongestCell = 60;  // characters; a beacon may bring a name of many thousands
using Row = std::array<QString, kColumns>;

QString harmless(const QString& text)
{
    QString result = text.left(kLongestCell);
    for (QChar& character : result) {
        if (!character.isPrint())
            character = QLatin1Char('?');
    }
    return result;
}

QString orDash(const QString& text) { return text.isEmpty() ? QStringLiteral("-") : text; }

QString roundTrip(const Device& device)
{
    constexpr double kNanosecondsPerMillisecond = 1e6;
    if (!device.roundTripNs)
        return {};
    return QString::number(static_cast<double>(*device.roundTripNs) / kNanosecondsPerMillisecond, 'f', 2) +
           QStringLiteral(" ms");
}

QString services(const Device& device)
{
    QStringList texts;
    for (const Device::Service& service : device.services)
        texts.append(harmless(service.id) + (service.isReady ? QString() : QStringLiteral(" (not ready)")));
    return texts.join(QStringLiteral(", "));
}

QString mounts(const Device& device)
{
    QStringList names;
    for (const QString& name : device.mounts)
        names.append(harmless(name));
    return names.join(QStringLiteral(", "));
}

Row rowOf(const Device& device)
{
    return {orDash(harmless(device.name)),
            orDash(harmless(device.application + QLatin1Char(' ') + device.version).trimmed()),
            orDash(device.addresses.join(QStringLiteral(", "))),
            orDash(roundTrip(device)),
            orDash(services(device)),
            orDash(mounts(device)),
            device.uuid.toString(QUuid::WithoutBraces)};
}

QString withNewline(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n');
}

}  // namespace

QString deviceLine(char mark, const Device& device)
{
    const Row row = rowOf(device);
    QStringList cells{QString(QLatin1Char(mark))};
    cells.append(QStringList(row.begin(), row.end()));
    return cells.join(QStringLiteral("  ")) + QLatin1Char('\n');
}

QString deviceTable(const QList<Device>& devices)
{
    if (devices.isEmpty())
        return QStringLiteral("No other device yet.\n");
    QList<Row> rows{{QStringLiteral("NAME"), QStringLiteral("APPLICATION"), QStringLiteral("ADDRESSES"),
                     QStringLiteral("ROUND TRIP"), QStringLiteral("SERVICES"), QStringLiteral("SHARES"),
                     QStringLiteral("UUID")}};
    for (const Device& device : devices)
        rows.append(rowOf(device));

    std::array<int, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i)
            widths.at(i) = std::max(widths.at(i), static_cast<int>(row.at(i).size()));
    }
    QString text;
    for (const Row& row : rows) {
        QString line;
        for (std::size_t i = 0; i < kColumns; ++i)
            line += row.at(i).leftJustified(widths.at(i) + 2);
        text += line.trimmed() + QLatin1Char('\n');
    }
    return text;
}

QString deviceJson(const QString& event, const Device& device)
{
    QJsonArray services;
    for (const Device::Service& service : device.services)
        services.append(
            QJsonObject{{QStringLiteral("id"), service.id}, {QStringLiteral("ready"), service.isReady}});
    return withNewline({
        {QStringLiteral("event"), event},
        {QStringLiteral("uuid"), device.uuid.toString(QUuid::WithoutBraces)},
        {QStringLiteral("name"), device.name},
        {QStringLiteral("application"), device.application},
        {QStringLiteral("version"), device.version},
        {QStringLiteral("addresses"), QJsonArray::fromStringList(device.addresses)},
        {QStringLiteral("port"), device.port},
        {QStringLiteral("connected"), device.isConnected},
        {QStringLiteral("connections"), device.connections},
        {QStringLiteral("roundTripNs"),
         device.roundTripNs ? QJsonValue(*device.roundTripNs) : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("services"), services},
        {QStringLiteral("shares"), QJsonArray::fromStringList(device.mounts)},
    });
}

QString startJson(const QUuid& uuid, quint16 directoryPort, quint16 discoveryPort)
{
    return withNewline({
        {QStringLiteral("event"), QStringLiteral("started")},
        {QStringLiteral("uuid"), uuid.toString(QUuid::WithoutBraces)},
        {QStringLiteral("directoryPort"), directoryPort},
        {QStringLiteral("discoveryPort"), discoveryPort},
    });
}

}  // namespace tunesift::cli
