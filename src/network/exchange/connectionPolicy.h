#pragma once

#include <QUuid>

namespace eboNetworkExchange {

/// Who began a connection.
enum class Direction { kIncoming, kOutgoing };

/// Of two devices, the one with the lower uuid makes all connections, so that two never connect twice. Order
/// is that of QUuid.
[[nodiscard]] inline bool connectsTo(const QUuid& one, const QUuid& other) { return one < other; }

/// Whether a device may be at the other end of a connection that began like this.
[[nodiscard]] inline bool isCredible(const QUuid& local, const QUuid& claimed, Direction direction)
{
    return direction == Direction::kOutgoing ? connectsTo(local, claimed) : connectsTo(claimed, local);
}

}  // namespace eboNetworkExchange
