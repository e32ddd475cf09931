#pragma once

#include "network/peer/PeerConnection.h"
#include "network/peer/PeerListener.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace exchangetest {

/// The other end of a connection over 127.0.0.1 whose near end lives on the test's own thread: waiting lets
/// the events there happen.
class PumpedPeer {
public:
    /// @param from  last number of the address 127.0.0.x that it comes from
    static PumpedPeer connectTo(std::uint16_t port, int from = 1);

    /// One that is to be connected later, and has its descriptor already.
    static PumpedPeer unconnected();
    void connect(std::uint16_t port);

    explicit PumpedPeer(peer::PeerConnection connection) : connection_(std::move(connection)) {}

    void send(const std::string& bytes);

    /// Sends as much as the system takes without waiting. @return number of bytes
    std::size_t trySend(const std::string& bytes);

    /// Waits for so many bytes; fewer if the connection ends before.
    std::string receive(std::size_t size);

    /// What has arrived by now, without waiting.
    std::string received();

    /// Whether the connection has ended, as far as was read.
    [[nodiscard]] bool hasEnded() const { return ended_; }

    /// Waits until the near end has closed the connection; what arrives meanwhile is dropped.
    [[nodiscard]] bool isClosed();

    /// Sends a segment for every byte, and waits for the near end to hear it.
    void sendSlowly(const std::string& bytes);

    /// Ends the connection by a reset.
    void reset();
    void close();

private:
    void readWhatIsThere();

    std::optional<peer::PeerConnection> connection_;  // none once it is closed
    bool ended_ = false;
    std::string arrived_;
};

/// Waits for connections on a port of 127.0.0.x that the system chooses.
class PumpedListener {
public:
    /// @param at  last number of the address 127.0.0.x
    explicit PumpedListener(int at = 1);

    [[nodiscard]] std::uint16_t port() const { return listener_.port(); }

    PumpedPeer accept();

    /// Whether a connection waits.
    [[nodiscard]] bool hasPending() const { return listener_.hasPending(); }

private:
    peer::PeerListener listener_;
};

}  // namespace exchangetest
