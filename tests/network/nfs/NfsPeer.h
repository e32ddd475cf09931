#pragma once

#include "network/peer/nfsWire.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace nfstest {

/// The other device's end of a service connection: says and hears whole packets. Operations block, but none
/// for longer than a minute, which only a hang explains. One thread at a time.
class NfsPeer {
public:
    /// @param descriptor  a connected socket; owned
    explicit NfsPeer(int descriptor) : descriptor_(descriptor) {}
    NfsPeer(NfsPeer&& other) noexcept;
    NfsPeer& operator=(NfsPeer&&) = delete;
    NfsPeer(const NfsPeer&) = delete;
    ~NfsPeer();

    /// Sends the payload as one packet.
    void send(const peer::Bytes& payload) const;

    /// Sends bytes as they are.
    void sendRaw(const peer::Bytes& bytes) const;

    /// The payload of the next packet. Throws std::runtime_error if none comes.
    [[nodiscard]] peer::Bytes next();

    /// The same, or nothing if none comes within that time: for proving that nothing is sent, or sent again.
    [[nodiscard]] std::optional<peer::Bytes> nextWithin(std::chrono::milliseconds patience);

    /// Waits until our end has closed the connection; what comes before that is dropped.
    [[nodiscard]] bool isClosed();

    void close();

private:
    /// @return false if the time is over first
    bool fill(std::size_t size, std::chrono::steady_clock::time_point giveUp);

    int descriptor_;
    bool ended_ = false;
    peer::Bytes arrived_;
};

}  // namespace nfstest
