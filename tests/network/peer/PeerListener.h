#pragma once

#include "network/peer/PeerConnection.h"
#include "support/NetworkNamespace.h"

#include <cstdint>
#include <optional>
#include <string>

namespace peer {

/// Waits for TCP connections on a port that the system chooses. Throws std::runtime_error where the system
/// refuses.
class PeerListener {
public:
    explicit PeerListener(const testsupport::NetworkNamespace& place);

    /// At one address of this process's own place.
    explicit PeerListener(const std::string& address);
    ~PeerListener();
    PeerListener(const PeerListener&) = delete;
    PeerListener& operator=(const PeerListener&) = delete;

    [[nodiscard]] std::uint16_t port() const { return port_; }

    /// For waiting on several at once.
    [[nodiscard]] int descriptor() const { return socket_; }

    /// Whether a connection waits.
    [[nodiscard]] bool hasPending() const;

    /// A connection that waits; nothing if none does.
    [[nodiscard]] std::optional<PeerConnection> accept() const;

private:
    PeerListener(int socket, std::uint32_t address);

    int socket_;
    std::uint16_t port_ = 0;
};

}  // namespace peer
