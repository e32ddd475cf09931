#pragma once

#include <QtGlobal>

namespace eboDiscoverer {

/// What one other device, which is an address that something comes from, can make this one hold. Each is far
/// above what a machine with many workers needs, and far below what would hinder the others: a total without
/// shares would go to whoever is loudest.
struct PeerBudget {
    /// Devices that beacon from it: a machine with many workers, or many behind one router.
    static constexpr int kHosts = 512;

    /// Devices in all.
    static constexpr int kHostsInAll = 4096;

    /// Addresses that one device is believed to have.
    static constexpr int kAddressesOfHost = 256;

    /// Connections of all kinds, in either direction.
    static constexpr int kSockets = 512;

    /// Of those, the ones that have not said yet which service they are for.
    static constexpr int kOpenings = 256;

    /// Streams that carry one service of one device.
    static constexpr int kStreams = 256;

    /// Bytes of packets that wait in a stream before it is read no further, and bytes that have been read and
    /// not parsed before no more are taken from the system.
    static constexpr qint64 kWaitingBytes = 1024 * 1024;
    static constexpr qint64 kUnparsedBytes = 256 * 1024;

    /// Bytes that it has not read of what it asked for on a directory connection.
    static constexpr qint64 kUnreadBytes = 16 * 1024;

    /// Messages or packets of one connection in one turn of the event loop, and the time that they may take;
    /// then it is the others' turn.
    static constexpr int kMessagesATurn = 256;
    static constexpr qint64 kNanosecondsATurn = 2'000'000;
};

}  // namespace eboDiscoverer
