#pragma once

namespace eboNetworkExchange {

/// Makes ServiceFilteredHostModel known to QML, as "Network" 1.0. A library of its own, so that only those
/// who load QML link it. Main thread.
void registerNetworkTypes();

}  // namespace eboNetworkExchange
