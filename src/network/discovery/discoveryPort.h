#pragma once

#include <QStringList>
#include <QtGlobal>

namespace eboDiscoverer {

/// The UDP port of all beacons of this process, sent and received: 51337 unless the command line says
/// otherwise. Any thread.
[[nodiscard]] quint16 discoveryPort();

/// Takes the port from the number behind "-discoPort", if the arguments have one. An option without a number
/// leaves the port as it is; with or without, the port in force is logged.
void takeDiscoveryPort(const QStringList& arguments);

}  // namespace eboDiscoverer
