#pragma once

#include <QString>

namespace eboNetworkExchange {

/// A service that this device offers, and connects to on others.
struct ServiceDefinition {
    QString serviceId;
    bool lowDelay = false;  ///< Whether small packets leave at once instead of being gathered.
};

}  // namespace eboNetworkExchange
