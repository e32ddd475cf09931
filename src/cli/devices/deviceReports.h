#pragma once

#include "cli/devices/Device.h"

#include <QList>
#include <QString>
#include <QUuid>

namespace tunesift::cli {

/// One line for a device: what has become of it, then what it is. Names come from the network: characters
/// that would steer a terminal are shown as question marks.
/// @param mark  '+' it has come, '~' it is different, '-' it has gone
[[nodiscard]] QString deviceLine(char mark, const Device& device);

/// A table with a heading, or a word about there being no device.
[[nodiscard]] QString deviceTable(const QList<Device>& devices);

/// One line with one JSON object. @param event  "appeared", "changed" or "gone"
[[nodiscard]] QString deviceJson(const QString& event, const Device& device);

/// The line that comes before all others: who this device is itself.
[[nodiscard]] QString startJson(const QUuid& uuid, quint16 directoryPort, quint16 discoveryPort);

}  // namespace tunesift::cli
