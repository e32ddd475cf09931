#pragma once

#include "network/peer/PeerDevice.h"
#include "network/peer/nfsWire.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace sharing {

/// Files that a device of another make serves, each in a way of its own, good or bad; and a record of what it
/// was asked for. Operations that count may be called from any thread.
class PeerFiles {
public:
    static constexpr std::size_t kBlockSize = 4096;

    /// A question for one block.
    struct Asked {
        peer::PeerDevice& device;
        peer::PeerDevice::Link link;
        std::uint32_t object;
        std::uint64_t block;
        int time;  ///< 1 when this block of this object is asked for first
        const peer::Bytes& content;

        /// The proper answer.
        [[nodiscard]] peer::Bytes answer() const;
        /// The bytes of it.
        [[nodiscard]] peer::Bytes bytes() const;
        void send(const peer::Bytes& payload) const { device.send(link, payload); }
    };

    /// The way in which a file is served.
    struct Manner {
        std::function<void(const Asked&)> onBlock = [](const Asked& asked) { asked.send(asked.answer()); };
        bool answersInfo = true;
        std::int32_t flags = 1;
        std::int64_t size = kTrueSize;
        std::int8_t lockResult = 1;  ///< of every level that is asked for
    };
    static constexpr std::int64_t kTrueSize = -4711;

    /// Before the device is there.
    void serve(const std::u16string& path, peer::Bytes content, Manner manner);

    /// Takes a packet; on the device's thread.
    void take(peer::PeerDevice& device, peer::PeerDevice::Link link, const peer::Bytes& payload);

    using Clock = std::chrono::steady_clock;

    /// When the file was asked for, in all.
    [[nodiscard]] std::vector<Clock::time_point> requestsFor(const std::u16string& path) const;

    /// Objects by which others have asked for the file: one for each time that one of them opened it.
    [[nodiscard]] std::size_t usersOf(const std::u16string& path) const;

    /// When the block was asked for, whoever asked.
    [[nodiscard]] std::vector<Clock::time_point> requestsFor(const std::u16string& path,
                                                             std::uint64_t block) const;

private:
    using User = std::pair<peer::PeerDevice::Link, std::uint32_t>;

    struct Served {
        peer::Bytes content;
        Manner manner;
        std::vector<Clock::time_point> requests;
        std::map<std::uint64_t, std::vector<Clock::time_point>> blockRequests;
        std::map<std::pair<User, std::uint64_t>, int> timesAsked;
        std::size_t users = 0;
    };

    void onFileRequest(peer::PeerDevice& device, const User& user, const std::u16string& path);
    void onLockRequest(peer::PeerDevice& device, const User& user, std::int32_t level);
    void onDataRequest(peer::PeerDevice& device, const User& user, const peer::nfs::Ranges& ranges);

    mutable std::mutex mutex_;
    std::map<std::u16string, Served> files_;
    std::map<User, Served*> users_;
};

}  // namespace sharing
