#include "network/discovery/discoveryPort.h"

#include "runtime/logCategories.h"

#include <atomic>

namespace eboDiscoverer {

namespace {

constexpr quint16 kDefaultPort = 51337;
std::atomic<quint16> portInForce{kDefaultPort};

}  // namespace

quint16 discoveryPort() { return portInForce.load(); }

void takeDiscoveryPort(const QStringList& arguments)
{
    const int option = arguments.indexOf(QStringLiteral("-discoPort"));
    if (option < 0)
        return;
    bool isNumber = false;
    const int number = arguments.value(option + 1).toInt(&isNumber);
    if (isNumber)
        portInForce = static_cast<quint16>(number);
    qCWarning(ebo::log::discoverer) << "Discoverer Port override requested, set to:" << discoveryPort();
}

}  // namespace eboDiscoverer
