#pragma once

#include "network/peer/wire.h"
#include "support/NetworkNamespace.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace peer {

/// One end of a TCP connection, for directory and service connections. All operations block, but none for
/// longer than a minute, which only a hang explains. Throws std::runtime_error where the system refuses.
class PeerConnection {
public:
    /// Connects from inside of the namespace.
    PeerConnection(const testsupport::NetworkNamespace& place, const std::string& address,
                   std::uint16_t port);

    /// A socket at an address of this process's own place, which is to be connected later.
    static PeerConnection unconnected(const std::string& from);
    void connect(const std::string& address, std::uint16_t port) const;

    /// Takes over a connection that is there.
    explicit PeerConnection(int socket);
    ~PeerConnection();
    PeerConnection(PeerConnection&& other) noexcept;
    PeerConnection& operator=(PeerConnection&& other) noexcept;
    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;

    void send(const Bytes& bytes) const;

    /// As much as the system takes without waiting. @return how many octets; nothing at all once the other
    /// side has closed
    [[nodiscard]] std::optional<std::size_t> trySend(const Bytes& bytes) const;

    /// Each octet in a segment of its own.
    void sendBytewise(const Bytes& bytes) const;

    /// Exactly so many octets; fewer if the other side closes.
    [[nodiscard]] Bytes receive(std::size_t size) const;

    /// What has arrived by now, without waiting; nothing at all once the other side has closed.
    [[nodiscard]] std::optional<Bytes> arrived() const;

    /// Ends the connection for both sides; the object stays.
    void hangUp() const;

    /// Lets the connection be reset, not closed, when the object goes.
    void resetAtTheEnd() const;

    /// For waiting on several at once.
    [[nodiscard]] int descriptor() const { return socket_; }

    /// Waits until the other side has closed, and drops what comes before that.
    [[nodiscard]] bool isClosedByPeer() const;

private:
    int socket_;
};

}  // namespace peer
