#pragma once

#include "network/discovery/Discoverer.h"
#include "network/exchange/Network.h"
#include "network/nfs/eboNfs.h"
#include "network/nfs/eboNfsFileFactory.h"
#include "runtime/refptr.h"

#include <QUuid>

/// The whole way to other devices, up and down as one: discovery, the service network, and file sharing on
/// it. Each time it comes up this device has a new identity. One thread, that of the application.
class FileSharing {
public:
    FileSharing() = default;

    /// Takes down what is up.
    ~FileSharing();
    FileSharing(const FileSharing&) = delete;
    FileSharing& operator=(const FileSharing&) = delete;

    /// Does not wait for any device. False, with nothing left up, if the system has
    /// no thread or descriptor left for it.
    /// @param factory  serves net paths from then on
    [[nodiscard]] bool bringUp(const ebo::refptr<eboNfsFileFactory>& factory);

    /// Everything of other devices becomes unavailable, so that no reader waits, and what they use of this
    /// one is closed; then the threads of the network are joined. What others still hold of it is of no use
    /// any more, and ends when they let go.
    void tearDown();

    [[nodiscard]] bool isUp() const { return bool(nfs_); }

    /// This device; null while it is down.
    [[nodiscard]] QUuid uuid() const { return discoverer_ ? discoverer_->uuid() : QUuid(); }

    [[nodiscard]] const ebo::refptr<eboDiscoverer::Discoverer>& discoverer() const { return discoverer_; }
    [[nodiscard]] const ebo::refptr<eboNetworkExchange::Network>& network() const { return network_; }

    /// Null while it is down.
    [[nodiscard]] const ebo::refptr<eboNfs>& nfs() const { return nfs_; }

private:
    ebo::refptr<eboNfsFileFactory> factory_;
    ebo::refptr<eboDiscoverer::Discoverer> discoverer_;
    ebo::refptr<eboNetworkExchange::Network> network_;
    ebo::refptr<eboNfs> nfs_;
};
