#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace exchangetest {

/// The other end of a connection over 127.0.0.1: a bare socket of the system, which says what it is told to.
/// Waiting lets the events of our own end happen.
class RawPeer {
public:
    /// @param from  last number of the address 127.0.0.x that it comes from
    static RawPeer connectTo(std::uint16_t port, int from = 1);

    /// A socket that is to be connected later.
    static RawPeer unconnected();
    void connect(std::uint16_t port);

    explicit RawPeer(int descriptor) : descriptor_(descriptor) {}
    RawPeer(RawPeer&& other) noexcept;
    RawPeer& operator=(RawPeer other) noexcept;
    RawPeer(const RawPeer&) = delete;
    ~RawPeer();

    void send(const std::string& bytes);

    /// Sends as much as the system takes without waiting. @return number of bytes
    std::size_t trySend(const std::string& bytes);

    /// Waits for so many bytes; fewer if the connection ends before.
    std::string receive(std::size_t size);

    /// What has arrived by now, without waiting.
    std::string received();

    /// Whether the connection has ended, as far as was read.
    [[nodiscard]] bool hasEnded() const { return ended_; }

    /// Waits until our end has closed the connection; what arrives meanwhile is dropped.
    [[nodiscard]] bool isClosed();

    /// Sends a segment for every write, and waits for our end to hear it.
    void sendSlowly(const std::string& bytes);

    /// Ends the connection by a reset.
    void reset();
    void close();

private:
    void readWhatIsThere();

    int descriptor_;
    bool ended_ = false;
    std::string arrived_;
};

/// Waits for connections on a port of 127.0.0.x that the system chooses.
class RawListener {
public:
    /// @param at  last number of the address 127.0.0.x
    explicit RawListener(int at = 1);
    ~RawListener();
    RawListener(const RawListener&) = delete;
    RawListener& operator=(const RawListener&) = delete;

    [[nodiscard]] std::uint16_t port() const { return port_; }

    RawPeer accept();

    /// Whether a connection waits.
    [[nodiscard]] bool hasPending() const;

private:
    int descriptor_;
    std::uint16_t port_ = 0;
};

}  // namespace exchangetest
