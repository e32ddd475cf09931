#pragma once

#include "network/peer/wire.h"
#include "support/NetworkNamespace.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace peer {

inline constexpr std::uint16_t kBeaconPort = 51337;

/// A UDP socket for beacons, good and bad. Throws std::runtime_error where the system refuses.
class BeaconSocket {
public:
    struct Heard {
        Bytes bytes;
        std::string from;  ///< IPv4
        std::uint16_t fromPort = 0;
        std::chrono::system_clock::time_point when;  ///< As the kernel took it in.
    };

    /// @param address  one of the namespace's, to send from; "0.0.0.0" for hearing what is broadcast
    /// @param port     0 for any
    BeaconSocket(const testsupport::NetworkNamespace& place, const std::string& address,
                 std::uint16_t port = 0);
    ~BeaconSocket();
    BeaconSocket(const BeaconSocket&) = delete;
    BeaconSocket& operator=(const BeaconSocket&) = delete;

    /// To everybody on the network of the socket's address, or to one address.
    void send(const Bytes& datagram, const std::string& to = "255.255.255.255",
              std::uint16_t port = kBeaconPort) const;

    /// The next datagram; nothing if none comes for a minute, which only a hang explains.
    [[nodiscard]] std::optional<Heard> next() const;

    /// The next datagram of those that are there already.
    [[nodiscard]] std::optional<Heard> nextWaiting() const;

private:
    [[nodiscard]] std::optional<Heard> receive(int flags) const;

    int socket_;
};

}  // namespace peer
