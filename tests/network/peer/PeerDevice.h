#pragma once

#include "network/peer/BeaconSocket.h"
#include "network/peer/PeerConnection.h"
#include "network/peer/PeerListener.h"
#include "network/peer/wire.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace peer {

/// A whole device of another make with the service "FileTransfer": it sends beacons, hears those of others,
/// joins with each of them, by connecting or by being connected to as the uuids command, and exchanges
/// packets. It has a thread of its own. All operations are for other threads unless they say otherwise.
class PeerDevice {
public:
    /// One service connection, numbered in the order in which they came about.
    using Link = int;

    /// Takes a packet, on the device's thread.
    using Handler = std::function<void(PeerDevice& device, Link link, const Bytes& payload)>;

    /// @param address  IPv4 of the namespace's interface
    /// @param handler  without one, packets wait for `next`
    PeerDevice(const testsupport::NetworkNamespace& place, std::string address, const Uuid& uuid,
               Handler handler = {});
    ~PeerDevice();
    PeerDevice(const PeerDevice&) = delete;
    PeerDevice& operator=(const PeerDevice&) = delete;

    /// Waits until so many service connections have come about in all; false if they do not within a minute.
    [[nodiscard]] bool waitForLinks(int count);

    /// Sends a payload as a packet, from any thread; a link that has gone swallows it.
    void send(Link link, const Bytes& payload);

    /// The same with some bytes that need not be a packet.
    void sendBytes(Link link, const Bytes& bytes);

    /// Sends it later.
    void sendLater(Link link, const Bytes& payload, std::chrono::milliseconds delay);

    /// The next packet on a link; nothing if none comes for a minute, or the link has ended.
    [[nodiscard]] std::optional<Bytes> next(Link link);

    /// The next packet of those that have been taken in already.
    [[nodiscard]] std::optional<Bytes> nextWaiting(Link link);

    /// Ends all connections, and makes and takes no further ones. Also from the handler.
    void hangUp() { isHangingUp_ = true; }

    /// Sends no further beacons and no further word, but keeps its connections. Also from the handler.
    void fallSilent() { isSilent_ = true; }

private:
    using Clock = std::chrono::steady_clock;

    /// A connection that is not, or not yet, one of the service.
    struct Talk {
        PeerConnection connection;
        std::string address;  ///< Of the other device, if this one has connected.
        Uuid other{};
        Bytes arrived;
        bool isDone = false;
    };

    struct LinkState {
        LinkState(PeerConnection&& taken, Bytes&& first)
            : connection(std::move(taken)), arrived(std::move(first))
        {}

        PeerConnection connection;
        Bytes arrived;
        std::deque<Bytes> packets;
        std::mutex sending;  ///< Of several threads, one at a time.
        std::atomic<bool> hasEnded = false;
    };

    struct Later {
        Link link;
        Bytes payload;
    };

    void run();
    void waitForSomething() const;
    void hear();
    void meet(const Uuid& other, const std::string& address, std::uint16_t port);
    static void dropDone(std::vector<Talk>& talks);
    void acceptAll();
    void talk(Talk& directory);
    void readOpening(Talk& opening);
    void addLink(PeerConnection connection, Bytes arrived);
    void read(Link link, LinkState& state);
    void sendWhatIsDue();
    void endEverything();
    [[nodiscard]] LinkState* find(Link link);
    [[nodiscard]] bool isLower(const Uuid& other) const { return uuid_ < other; }

    const testsupport::NetworkNamespace& place_;
    const std::string address_;
    const Uuid uuid_;
    const Handler handler_;
    const BeaconSocket mouth_;
    const BeaconSocket ear_;
    const PeerListener directoryPort_;
    const PeerListener servicePort_;

    // Of the device's thread.
    std::set<Uuid> met_;
    std::vector<Talk> directories_;
    std::vector<Talk> openings_;
    Clock::time_point nextBeacon_;

    std::mutex mutex_;  ///< Guards what follows.
    std::condition_variable changed_;
    std::map<Link, LinkState> links_;
    std::multimap<Clock::time_point, Later> later_;

    std::atomic<bool> isHangingUp_ = false;
    std::atomic<bool> isSilent_ = false;
    std::atomic<bool> isEnding_ = false;
    std::thread thread_;
};

}  // namespace peer
