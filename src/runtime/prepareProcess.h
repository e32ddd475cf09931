#pragma once

namespace ebo {

/// What every program does first, before it opens anything and before it has threads:
/// - No proxy. Qt's sockets would take the one that the environment names for the web, and could then neither
///   listen nor be bound to an address.
/// - As many open files as the system allows. The usual limit dates from a call (`select`) that nothing here
///   uses, and anybody on the network can come near it.
void prepareProcess();

}  // namespace ebo
