#pragma once

#include "network/nfs/Message.h"

#include <QByteArray>
#include <QIODevice>

/// Messages as bytes: a header of the magic "fltx", object and type, 4 bytes each, then the body that the
/// type fixes, all as QDataStream of version 16 writes it, big-endian. There is no length.
namespace eboNfsMessages {

/// Appends a message to the device.
void writeMessage(QIODevice* device, const Message& message);

/// A message alone in a packet.
[[nodiscard]] QByteArray toPacket(const Message& message);

/// Takes one message from a device that is not at its end. Bytes that are none come back with the type
/// kInvalid; then the device stands behind what was looked at, which is at least one byte, and anything may
/// follow. Nothing costs more than the device's bytes are worth: counts are checked against what is there.
[[nodiscard]] Message readMessage(QIODevice* device);

}  // namespace eboNfsMessages
