#include "cli/devices/Device.h"

namespace tunesift::cli {
namespace {

QString plainForm(const QHostAddress& address)
{
    bool isIPv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIPv4);
    return isIPv4 ? QHostAddress(ipv4).toString() : address.toString();
}

}  // namespace

Device deviceFrom(const eboNetworkExchange::Host& host)
{
    Device device;
    device.uuid = host.uuid();
    device.name = host.name();
    device.application = host.applicationId();
    device.version = host.applicationVersion();
    for (const QHostAddress& address : host.addresses())
        device.addresses.append(plainForm(address));
    device.port = host.port();
    device.isConnected = host.isConnected();
    device.connections = host.directorySockets().size();
    if (const qint64 ping = host.ping(); ping >= 0)
        device.roundTripNs = ping;
    for (const auto& service : host.services())
        device.services.append({service->serviceId(), service->isReady()});
    return device;
}

bool isNews(const Device& before, const Device& after)
{
    Device sameFigure = after;
    if (before.roundTripNs && after.roundTripNs)
        sameFigure.roundTripNs = before.roundTripNs;
    return !(before == sameFigure);
}

}  // namespace tunesift::cli
